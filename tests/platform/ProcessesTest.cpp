#include "platform/Processes.h"

#include <sys/stat.h>

#include <csignal>
#include <fstream>

#include "platform/Clock.h"
#include "platform/shared/CommandLine.h"
#include "tests/support/Tests.h"

namespace platform {
namespace {

using namespace Vorn::Testing;

using Processes = InFolder;

// Runs `commandLine` and returns its exit code, or -1 if it does not start.
std::int64_t ExitCodeOf(const std::string& commandLine) {
    Process process;
    std::uint32_t code = 0;
    const bool ended = process.Start(commandLine.c_str(), Console::None) && process.Wait(-1) &&
                       process.GetExitCode(code);
    return ended ? std::int64_t{code} : -1;
}
std::int64_t RunShell(const std::string& script) {
    return ExitCodeOf("/bin/sh -c \"" + script + "\"");
}

TEST(CommandLine, QuotesAndBackslashes) {
    for (const auto& [text, arguments] : Table<const char*, std::vector<std::string>>{
             {"", {}},
             {"  \t ", {}},
             {" a  b\tc ", {"a", "b", "c"}},
             {R"("a b" c)", {"a b", "c"}},
             {R"(a" b"c d)", {"a bc", "d"}},
             {R"("" x)", {"", "x"}},
             {R"("open end)", {"open end"}},
             {R"(a\b\\c)", {R"(a\b\\c)"}},
             {R"("a\\" b)", {R"(a\)", "b"}},
             {R"(a\"b "c\\\"d e")", {R"(a"b)", R"(c\"d e)"}},
             {R"(a\\\\"b c")", {R"(a\\b c)"}},
             {R"(C:\x\ y)", {R"(C:\x\)", "y"}},
         }) {
        EXPECT_EQ(shared::SplitArguments(text), arguments) << text;
    }
}

TEST_F(Processes, ProgramIsFoundInQuotesOrAtTheLastBlankThatFits) {
    folder.Write("my folder/a tool",
                 "#!/bin/sh\nfor a; do printf '[%s]' \"$a\"; done > \"${0%/*}/out\"\n",
                 fs::perms::owner_all);
    folder.Write("my", "not a program");
    EXPECT_EQ(ExitCodeOf(folder.Path("my folder/a tool") + R"( one "two  2" 3\"4)"), 0);
    EXPECT_EQ(folder.Read("my folder/out"), R"([one][two  2][3"4])");
    EXPECT_EQ(ExitCodeOf('"' + folder.Path() + "\\MY Folder\\A tool\"\tx"), 0);
    EXPECT_EQ(folder.Read("my folder/out"), "[x]");
    // Decoys: programs whose names are prefixes of the right one.
    for (const char* other : {"my", "my folder/a"}) {
        fs::remove(folder.Path(other));
        folder.Write(other, "#!/bin/sh\nexit 9\n", fs::perms::owner_all);
    }
    EXPECT_EQ(ExitCodeOf(folder.Path("my folder/a tool") + R"( "x y" z)"), 0);
    EXPECT_EQ(folder.Read("my folder/out"), "[x y][z]");
    EXPECT_EQ(ExitCodeOf(folder.Path("my folder/a") + R"( "tool")"), 9);
    EXPECT_EQ(ExitCodeOf(folder.Path("my folder/a") + " cap"), 9);
    fs::remove(folder.Path("my"));
    folder.Write("my", "not a program");
    folder.Write("broken", "#!/absent/interpreter\n", fs::perms::owner_all);
    for (const std::string& line : {folder.Path("my folder"), folder.Path("absent") + " x",
                                    '"' + folder.Path("my") + '"', folder.Path("broken"), ""s}) {
        EXPECT_EQ(ExitCodeOf(line), -1) << line;
    }
}

TEST_F(Processes, ExitCodes) {
    for (const int code : {0, 5, 255}) EXPECT_EQ(RunShell("exit " + std::to_string(code)), code);
    EXPECT_EQ(RunShell("kill -9 $$"), 128 + 9);
    EXPECT_EXIT(ExitProcess(7), testing::ExitedWithCode(7), "");
    const auto before = std::signal(SIGCHLD, SIG_IGN);  // some parents leave it so
    EXPECT_EQ(RunShell("exit 5"), 5);
    (void)std::signal(SIGCHLD, before);
}

TEST_F(Processes, ChildrenInheritNeitherBlockedSignalsNorDescriptors) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &blocked, &before), 0);
    EXPECT_EQ(RunShell("kill -TERM $$; exit 0"), 128 + SIGTERM);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ASSERT_EQ(dup2(STDERR_FILENO, 9), 9);
    EXPECT_EQ(RunShell("test -e /proc/$$/fd/9"), 1);
    EXPECT_EQ(RunShell("test -e /proc/$$/fd/2"), 0);
    close(9);
}

TEST_F(Processes, WaitingHasATimeLimit) {
    Process process;
    std::uint32_t code = 0;
    EXPECT_FALSE(process.Wait(0) || process.GetExitCode(code));
    ASSERT_EQ(mkfifo("gate", 0600), 0);
    ASSERT_TRUE(process.Start("/bin/sh -c \"read x < gate; exit 3\"", Console::Shared));
    const std::uint32_t start = TickMilliseconds();
    EXPECT_FALSE(process.Wait(30));
    EXPECT_GE(TickMilliseconds() - start, 29u);
    EXPECT_TRUE(process.GetExitCode(code));
    EXPECT_EQ(code, Process::kStillRunning);
    Process moved = std::move(process);
    std::ofstream("gate") << "go\n";
    EXPECT_TRUE(moved.Wait(60000) && moved.Wait(0) && moved.GetExitCode(code));
    EXPECT_EQ(code, 3u);
}

TEST_F(Processes, ThisProcess) {
    EXPECT_EQ(CurrentProcessId(), static_cast<std::uint32_t>(getpid()));
    EXPECT_THAT(ProgramPath(), testing::MatchesRegex("/.*platform_test"));
    std::string value = "kept";
    EXPECT_FALSE(GetEnvironment("VORN_NO_SUCH_VARIABLE", value));
    EXPECT_EQ(value, "kept");
    setenv("VORN_TEST_VARIABLE", "", 1);
    EXPECT_TRUE(GetEnvironment("VORN_TEST_VARIABLE", value));
    EXPECT_EQ(value, "");
}

}  // namespace
}  // namespace platform
