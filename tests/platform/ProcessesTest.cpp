#include "platform/Processes.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>

#include "platform/Clock.h"
#include "platform/Directories.h"
#include "platform/posix/CommandLine.h"
#include "tests/platform/TemporaryFolder.h"

namespace platform {
namespace {

using testing::ElementsAreArray;

class Processes : public TemporaryFolder {
protected:
    static constexpr const char* kPrintArguments =
        "#!/bin/sh\nfor a; do printf '[%s]' \"$a\"; done > \"${0%/*}/out\"\n";

    // The exit code of what `commandLine` starts, or -1 when it does not start.
    static std::int64_t Run(const std::string& commandLine) {
        Process process;
        std::uint32_t code = 0;
        if (!process.Start(commandLine.c_str(), Console::None) || !process.Wait(-1) ||
            !process.GetExitCode(code)) {
            return -1;
        }
        return code;
    }
};

TEST(CommandLine, QuotesAndBackslashes) {
    const struct {
        const char* text;
        std::vector<std::string> arguments;
    } rows[] = {
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
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_THAT(posix::SplitArguments(row.text), ElementsAreArray(row.arguments));
    }
}

TEST_F(Processes, ProgramIsFoundInQuotesOrAtTheFirstBlankThatFits) {
    ASSERT_TRUE(MakeDirectory(At("my folder").c_str()));
    Put("my folder/a tool", kPrintArguments, 0755);
    Put("my", "not a program", 0644);
    EXPECT_EQ(Run(At("my folder/a tool") + R"( one "two  2" 3\"4)"), 0);
    EXPECT_EQ(ContentsOf("my folder/out"), R"([one][two  2][3"4])");
    EXPECT_EQ(Run('"' + folder_ + "\\MY Folder\\A tool\"\tx"), 0);
    EXPECT_EQ(ContentsOf("my folder/out"), "[x]");
    Put("my folder/a", "#!/bin/sh\nexit 9\n", 0755);
    EXPECT_EQ(Run(At("my folder/a tool")), 9);  // the shorter one
    EXPECT_EQ(Run(At("my folder")), -1);
    EXPECT_EQ(Run(At("absent") + " x"), -1);
    EXPECT_EQ(Run('"' + At("my") + '"'), -1);
    EXPECT_EQ(Run(""), -1);
    Put("broken", "#!/absent/interpreter\n", 0755);
    EXPECT_EQ(Run(At("broken")), -1);
}

TEST_F(Processes, ExitCodes) {
    EXPECT_EQ(Run("/bin/sh -c \"exit 0\""), 0);
    EXPECT_EQ(Run("/bin/sh -c \"exit 5\""), 5);
    EXPECT_EQ(Run("/bin/sh -c \"exit 255\""), 255);
    EXPECT_EQ(Run("/bin/sh -c \"kill -9 $$\""), 128 + 9);
    EXPECT_EXIT(ExitProcess(7), testing::ExitedWithCode(7), "");
    const auto before = std::signal(SIGCHLD, SIG_IGN);  // as some parents leave it
    EXPECT_EQ(Run("/bin/sh -c \"exit 5\""), 5);
    static_cast<void>(std::signal(SIGCHLD, before));
}

TEST_F(Processes, ChildrenInheritNeitherBlockedSignalsNorDescriptors) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &blocked, &before), 0);
    EXPECT_EQ(Run("/bin/sh -c \"kill -TERM $$; exit 0\""), 128 + SIGTERM);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    constexpr int kDescriptor = 9;
    ASSERT_EQ(dup2(STDERR_FILENO, kDescriptor), kDescriptor);
    EXPECT_EQ(Run("/bin/sh -c \"test -e /proc/$$/fd/9\""), 1);
    EXPECT_EQ(Run("/bin/sh -c \"test -e /proc/$$/fd/2\""), 0);
    close(kDescriptor);
}

TEST_F(Processes, WaitingHasATimeLimit) {
    Process process;
    std::uint32_t code = 0;
    EXPECT_FALSE(process.Wait(0));
    EXPECT_FALSE(process.GetExitCode(code));
    ASSERT_EQ(mkfifo(At("gate").c_str(), 0600), 0);
    const std::string line = "/bin/sh -c \"read x < " + At("gate") + "; exit 3\"";
    ASSERT_TRUE(process.Start(line.c_str(), Console::Shared));
    const std::uint32_t start = TickMilliseconds();
    EXPECT_FALSE(process.Wait(30));
    EXPECT_GE(TickMilliseconds() - start, 29u);
    EXPECT_TRUE(process.GetExitCode(code));
    EXPECT_EQ(code, Process::kStillRunning);
    Process moved = std::move(process);
    std::ofstream(At("gate")) << "go\n";
    EXPECT_TRUE(moved.Wait(60000));
    EXPECT_TRUE(moved.GetExitCode(code));
    EXPECT_EQ(code, 3u);
    EXPECT_TRUE(moved.Wait(0));
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
