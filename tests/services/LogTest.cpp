// What the log writes, where to, what its options make of the modules, and how it ends.
#include <sys/resource.h>

#include <csignal>
#include <sstream>

#include "KernelStandard/FileSubstList.h"
#include "kernel/StartUp.h"
#include "tests/services/LogFixture.h"

namespace Vorn::Testing {
namespace {

using testing::MatchesRegex;
using Stream = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

class Log : public LogFixture {
protected:
    static void Err(const char* text) {
        LogWrite(RegisterLogModule("M"), LogLevel::Err, "%s", text);
    }
};

TEST_F(Log, LinesBeginWithLevelThreadTimeAndModule) {
    const Table<LogLevel, double, const char*, const char*> rows = {
        {LogLevel::None, 0, "M", "  0000AB12 None   0:00.0 M               : "},
        {LogLevel::Err, 90, "ExceptionHandler", "! 0000AB12 Err    1:30.0 ExceptionHandle : "},
        {LogLevel::Warn, 59.96, "M", "? 0000AB12 Warn   0:60.0 M               : "},
        {LogLevel::Diag, 60, "M", "+ 0000AB12 Diag   0:60.0 M               : "},
        {LogLevel::Prog, 180, "M", "- 0000AB12 Prog   2:60.0 M               : "}};
    for (const auto& [level, seconds, module, line] : rows) {
        EXPECT_EQ(LogPrefix(level, 0xAB12, seconds, module), line);
    }
}

TEST_F(Log, FileHoldsTheBuildTheLinesAndTheEnd) {
    const std::string banner =
        "Vorn vRRRRR.RR Build 1234.5.QQQQQ on [A-Z][a-z][a-z] [ 1-3][0-9] 20[0-9][0-9] "
        "at [0-9][0-9]:[0-9][0-9]:[0-9][0-9].\r\n\r\nBegin:\r\n";
    Init("");
    LogModule* module = RegisterLogModule("Net");
    EXPECT_EQ(RegisterLogModule("NET"), module);
    LogWrite(module, LogLevel::Err, "%s %d", "lost", 3);
    const std::string line = "! [0-9A-F]+ Err    0:00.0 Net             : lost 3\r\n";
    EXPECT_THAT(folder_.Read("VornLog.txt"), MatchesRegex(banner + line));
    Init("-LogFile=other.txt");
    EXPECT_FALSE(folder_.Has("other.txt"));
    CloseLog();
    EXPECT_THAT(folder_.Read("VornLog.txt"), MatchesRegex(banner + line + "End.\r\n"));

    Init("-LogFile=other.txt -LogFlush- -LogDisplayModuleName-");
    Err("later");
    EXPECT_EQ(Body("other.txt"), "Begin:\r\n");
    ShutdownLog();
    Err("too late");
    EXPECT_EQ(Body("other.txt"), "Begin:\r\nlater\r\nShutdown.\r\n");
}

TEST_F(Log, SinksGetWhatTheOptionsLetThrough) {
    const std::string longPath = "-LogFile=." + std::string(300, '/') + "x";
    // Options; then what the file after its banner, the debugger and the console hold.
    const Table<const char*, const char*, const char*, const char*> rows = {
        {"-A", "Begin:\r\nw\r\ne\r\nEnd.\r\n", "w\r\ne\r\n", "w\r\ne\r\n"},
        {"-Log=m:Err", "Begin:\r\ne\r\nEnd.\r\n", "e\r\n", "e\r\n"},
        {"-Log=M:newlines=off", "Begin:\r\nweEnd.\r\n", "we", "we"},
        {"-Log=M:mono=off", "Begin:\r\nw\r\ne\r\nEnd.\r\n", "", "w\r\ne\r\n"},
        {"-Log=M:file=off", "Begin:\r\nEnd.\r\n", "w\r\ne\r\n", "w\r\ne\r\n"},
        {"-Log=M:file=off:mono=off", "Begin:\r\nEnd.\r\n", "", ""},
        {"-Log=M:file=off:mono=off:window", "Begin:\r\nEnd.\r\n", "", "w\r\ne\r\n"},
        {"-NoLog", "Log Disabled.\r\n", "", ""},
        {"-NoLog -LogFile=''", "", "w\r\ne\r\n", "w\r\ne\r\n"},
        {"-LogFile=no/such/folder/log.txt", "", "", ""},
        {longPath.c_str(), "", "", ""}};
    setenv("VORN_DEBUG_OUTPUT", "1", 1);
    for (const auto& [options, file, debugger, console] : rows) {
        SCOPED_TRACE(options);
        const Stream stream(std::fopen("console", "w"), std::fclose);
        Init("-LogDisplayModuleName- "s + options);
        SetLogConsoleStream(stream.get());
        testing::internal::CaptureStderr();
        LogWrite(nullptr, LogLevel::Err, "x");
        LogWrite(RegisterLogModule("M"), LogLevel::Diag, "d");
        LogWrite(RegisterLogModule("M"), LogLevel::Warn, "w");
        Err("e");
        CloseLog();
        EXPECT_EQ(testing::internal::GetCapturedStderr(), debugger);
        EXPECT_EQ(Body(), file);
        std::fflush(stream.get());
        EXPECT_EQ(folder_.Read("console"), console);
        fs::remove("VornLog.txt");
    }
    for (const auto& [option, out, err] : Table<std::string, const char*, const char*>{
             {"-LogStdOut", "e\r\n", ""},
             {"-LogStdErr -LogStdOut", "", "e\r\n"},
         }) {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        Init("-LogDisplayModuleName- -Log=M:mono=off " + option);
        Err("e");
        CloseLog();
        EXPECT_EQ(testing::internal::GetCapturedStdout(), out);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), err);
    }
    // Without InitLog; the raw writer asks for no level.
    testing::internal::CaptureStderr();
    LogWriteRaw(*RegisterLogModule("M"), LogLevel::Prog, "raw");
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                MatchesRegex("- [0-9A-F]+ Prog   0:00.0 M               : raw\r\n"));
    unsetenv("VORN_DEBUG_OUTPUT");
}

TEST_F(Log, OptionsConfigureTheModulesTheyName) {
    constexpr std::uint32_t kBoth = kLogToFile | kLogToDebugger;
    constexpr std::uint32_t kAll = kLogNewlines | kLogPrefix;
    const Table<const char*, LogLevel, std::uint32_t, std::uint32_t> rows = {
        {"-Log=Foo:None", LogLevel::None, kBoth, kAll},
        {"-Log=Foo:Err:WARN", LogLevel::Warn, kBoth, kAll},
        {"-Log=fOO::diag:", LogLevel::Diag, kBoth, kAll},
        {"-Log=Foo:Prog,Foo:file=OFF", LogLevel::Prog, kLogToDebugger, kAll},
        {"-Log=Foo:file=off:FILE=yes:mono=off", LogLevel::Warn, kLogToFile, kAll},
        {"-Log=Foo:mono=off:file=off:window", LogLevel::Warn, kLogToWindow, kAll},
        {"-Log=Foo:newlines=off:displaymodulename=on", LogLevel::Warn, kBoth, kLogPrefix},
        {"-Log=Foo:displaymodulename -LogDisplayModuleName-", LogLevel::Warn, kBoth, kAll},
        {"-LogDisplayModuleName-", LogLevel::Warn, kBoth, kLogNewlines},
        {"-Log=:Err,Foo:Err=off:mon=off,FooBar:Err,Fo:Err", LogLevel::Warn, kBoth, kAll},
    };
    for (const bool existing : {true, false}) {
        for (const auto& [options, level, sinks, format] : rows) {
            SCOPED_TRACE(options);
            if (existing) RegisterLogModule("Foo");
            Init(options);
            const LogModule& module = *RegisterLogModule("Foo");
            EXPECT_EQ(std::tuple(module.Level(), module.Sinks(), module.Format()),
                      std::tuple(level, sinks, format));
            EXPECT_EQ(RegisterLogModule("")->Level(), LogLevel::Warn);
            CloseLog();
        }
    }
}

// A line of a thread; some are longer than a file's buffer.
std::string LineOf(std::size_t thread, int number) {
    const auto length = static_cast<std::size_t>(number % 50 == 49 ? 20'000 : number % 90);
    return std::to_string(thread) + ";" + std::to_string(number) + ";" + std::string(length, 'x');
}

TEST_F(Log, ThreadsNeverMixTheirLines) {
    constexpr std::size_t kThreads = 6;
    constexpr int kLines = 400;
    std::map<char, std::string> expected;  // by thread
    for (std::size_t t = 0; t < kThreads; ++t) {
        for (int i = 0; i < kLines; ++i) expected[LineOf(t, i)[0]] += LineOf(t, i) + "\r\n";
    }
    const Stream stream(std::fopen("console", "w"), std::fclose);
    Init("-LogDisplayModuleName- -LogFlush-");
    SetLogConsoleStream(stream.get());
    InThreads(kThreads, [](std::size_t t) {
        LogModule* module = RegisterLogModule(t % 2 == 0 ? "Even" : "Odd");
        for (int i = 0; i < kLines; ++i) {
            LogWrite(module, LogLevel::Warn, "%s", LineOf(t, i).c_str());
        }
    });
    CloseLog();
    std::fflush(stream.get());
    for (const std::string& text : {Body(), folder_.Read("console")}) {
        std::map<char, std::string> seen;
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) seen[line[0]] += line + "\n";
        EXPECT_EQ(seen.erase('B') + seen.erase('E'), text == Body() ? 2u : 0u);
        EXPECT_TRUE(seen == expected) << text.substr(0, 2'000);
    }
}

TEST_F(Log, EndsAsTheVeryLastThingInTheProcess) {
    GTEST_FLAG_SET(death_test_style, "fast");
    const auto leave = [this](const char* options) {
        Subst(Intern("logs"), (folder_.Path() + "/").c_str(), true);
        Init(options);
        RegisterTeardown([] { Err("late"); });
        std::exit(0);
    };
    EXPECT_EXIT(leave("-LogDisplayModuleName-"), testing::ExitedWithCode(0), "");
    EXPECT_EQ(Body(), "Begin:\r\nlate\r\nEnd.\r\n");
    EXPECT_EXIT(leave("-LogFile=logs:sub.txt"), testing::ExitedWithCode(0), "");
    EXPECT_EQ(Body("sub.txt"), "Begin:\r\nEnd.\r\n");
}

TEST_F(Log, HoldsTheLastLineOfAStaticObjectOfTheProgram) {
    EXPECT_EQ(Shell("'" VORN_LAST_LINE_PROGRAM "'"), 0);
    EXPECT_EQ(Body(), "Begin:\r\nmain ends\r\nlast words\r\nEnd.\r\n");
}

void LimitFiles(rlim_t size) {
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = std::min(size, limit.rlim_max);
    setrlimit(RLIMIT_FSIZE, &limit);
}

std::atomic<int> state = 0;

// A write past the file-size limit raises a signal inside the log, on the thread that writes.
TEST_F(Log, DropsALineInsideALineOfItsModuleAndAnEndInsideALine) {
    state = 0;
    Init("-LogDisplayModuleName-");
    std::signal(SIGXFSZ, [](int) {
        LimitFiles(RLIM_INFINITY);
        Err("dropped");
        state = ShutdownLogAfterFault() ? 1 : 2;
        while (state != 3) std::this_thread::yield();
    });
    LimitFiles(fs::file_size("VornLog.txt"));
    {
        const std::jthread writer(Err, "refused by the system");
        while (state == 0) std::this_thread::yield();
        EXPECT_EQ(state, 2);
        EXPECT_FALSE(ShutdownLogAfterFault()) << "the other thread is still inside";
        state = 3;
    }
    std::signal(SIGXFSZ, SIG_DFL);
    Err("after");
    EXPECT_TRUE(ShutdownLogAfterFault());
    Err("too late");
    CloseLog();
    EXPECT_EQ(Body(), "Begin:\r\nafter\r\nShutdown.\r\n");
}

}  // namespace
}  // namespace Vorn::Testing
