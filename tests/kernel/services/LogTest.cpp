// What the log writes, where to, and how it ends.
#include <sys/resource.h>

#include <csignal>
#include <sstream>

#include "KernelStandard/FileSubstList.h"
#include "kernel/StartUp.h"
#include "kernel/services/LogLine.h"
#include "tests/kernel/services/LogFixture.h"

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
    EXPECT_EQ(LogPrefix(LogLevel::Err, 0xAB12, 90, "ExceptionHandler"),
              "! 0000AB12 Err    1:30.0 ExceptionHandle : ");
    const Table<LogLevel, double, const char*> rows = {
        {LogLevel::None, 0, "  00000007 None   0:00.0 M               : "},
        {LogLevel::Warn, 59.96, "? 00000007 Warn   0:60.0 M               : "},
        {LogLevel::Diag, 60, "+ 00000007 Diag   0:60.0 M               : "},
        {LogLevel::Prog, 180, "- 00000007 Prog   2:60.0 M               : "}};
    for (const auto& [level, seconds, line] : rows) {
        EXPECT_EQ(LogPrefix(level, 7, seconds, "M"), line);
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
    CloseLog();
    EXPECT_EQ(Body("other.txt"), "Begin:\r\nlater\r\nShutdown.\r\n");
}

TEST_F(Log, SinksGetWhatTheOptionsLetThrough) {
    // Options; then what the file behind its banner, the debugger and the console hold.
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
        {"-LogFile=no/such/folder/log.txt", "", "", ""}};
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
    // Without InitLog; the raw writer asks for no level.
    testing::internal::CaptureStderr();
    LogWriteRaw(*RegisterLogModule("M"), LogLevel::Prog, "raw");
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                MatchesRegex("- [0-9A-F]+ Prog   0:00.0 M               : raw\r\n"));
    unsetenv("VORN_DEBUG_OUTPUT");
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
    for (const char* flush : {"-LogFlush+", "-LogFlush-"}) {
        SCOPED_TRACE(flush);
        const Stream stream(std::fopen("console", "w"), std::fclose);
        Init("-LogDisplayModuleName- "s + flush);
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

// A write past the file-size limit raises a signal inside the log, on the thread that writes.
class LogInterrupted : public Log {
protected:
    void SetUp() override {
        Log::SetUp();
        Init("-LogDisplayModuleName-");
    }
    void TearDown() override {
        Limit(RLIM_INFINITY);
        std::signal(SIGXFSZ, SIG_DFL);
        Log::TearDown();
    }
    static void Limit(rlim_t size) {
        rlimit limit{};
        getrlimit(RLIMIT_FSIZE, &limit);
        limit.rlim_cur = std::min(size, limit.rlim_max);
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    static void InterruptNextWrite(void (*handler)(int)) {
        std::signal(SIGXFSZ, handler);
        Limit(fs::file_size("VornLog.txt"));
    }

    static inline std::atomic<int> state_ = 0;
};

TEST_F(LogInterrupted, DropsALineInsideALineOfItsModuleAndAnEndInsideALine) {
    InterruptNextWrite([](int) {
        Limit(RLIM_INFINITY);
        Err("dropped");
        state_ = ShutdownLogAfterFault() ? 1 : 2;
    });
    Err("refused by the system");
    EXPECT_EQ(state_, 2);
    Err("after");
    EXPECT_TRUE(ShutdownLogAfterFault());
    Err("too late");
    EXPECT_EQ(Body(), "Begin:\r\nafter\r\nShutdown.\r\n");
}

TEST_F(LogInterrupted, AFaultDoesNotWaitForEverForAnotherThread) {
    state_ = 0;
    InterruptNextWrite([](int) {
        state_ = 1;
        while (state_ == 1) std::this_thread::yield();
    });
    {
        const std::jthread writer(Err, "stuck");
        while (state_ == 0) std::this_thread::yield();
        EXPECT_FALSE(ShutdownLogAfterFault());
        Limit(RLIM_INFINITY);
        state_ = 2;
    }
    EXPECT_TRUE(ShutdownLogAfterFault());
}

}  // namespace
}  // namespace Vorn::Testing
