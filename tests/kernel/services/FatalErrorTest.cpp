// The fatal-error window: what it says, how often it shows, and what a confirmation does.
#include "kernel/services/FatalError.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

#include "kernel/services/Thread.h"
#include "tests/kernel/services/FakeDialogs.h"
#include "tests/kernel/services/LogFixture.h"

namespace Vorn {
namespace {

using platform::DialogResult;

const Exception kError("kernel/Some", 12, "It broke");

class FatalError : public LogFixture {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
    void TearDown() override { Dialogs().answer = nullptr; }
};

TEST_F(FatalError, SaysWhereWhatAndWhyAndEndsTheLogWithIt) {
    Dialogs().answer = [] { return DialogResult::Cancelled; };
    Init("-LogDisplayModuleName- -Log=ExceptionHandler:Err:newlines=off");
    ShowFatalError(kError);
    EXPECT_EQ(Dialogs().resource, 101);
    EXPECT_EQ(Dialogs().text,
              "File: kernel/Some\r\nLine: 12\r\nClass: Unknown\r\nReason: It broke\r\n"
              "Version: Vorn vRRRRR.RR Build 1234.5.QQQQQ\r\nNo call stack available\r\n");
    EXPECT_EQ(Body(), "Begin:\r\n" + Dialogs().text + "Shutdown.\r\n")
        << "lines keep their ends, whatever the log puts behind them";
    ShowFatalError(FileEx("", 0, "x"));
    EXPECT_EQ(Dialogs().text,
              "Class: File\r\nReason: x\r\nVersion: Vorn vRRRRR.RR Build 1234.5.QQQQQ\r\n"
              "No call stack available\r\n");
}

TEST_F(FatalError, AnExceptionThatCannotBeToldStillEndsTheLog) {
    class Untellable : public Exception {
    public:
        Untellable() : Exception("", 0, "") {}
        [[nodiscard]] const char* GetReason() const override { throw std::bad_alloc(); }
    };
    Dialogs().answer = [] { return DialogResult::Cancelled; };
    Init("");
    ShowFatalError(Untellable());
    EXPECT_EQ(Dialogs().text, "Problem creating exception report");
    EXPECT_EQ(Body(), "Begin:\r\nShutdown.\r\n");
}

TEST_F(FatalError, ShowsOneWindowAtATimeAndAgainLater) {
    const int before = Dialogs().calls;
    Dialogs().answer = [] {
        const int shown = Dialogs().calls;
        Thread other([](void*) -> std::uint32_t { throw kError; }, nullptr, true);
        EXPECT_TRUE(other.Wait(-1));
        EXPECT_EQ(Dialogs().calls, shown);
        return DialogResult::Cancelled;
    };
    ShowFatalError(kError);
    ShowFatalError(kError);
    EXPECT_EQ(Dialogs().calls, before + 2);
    EXPECT_FALSE(IsTerminating());
}

// Ends the process with 0 when it counts as terminating: a new thread's function is not called
// and no other window shows.
[[noreturn]] void ExpectTerminating() {
    const int shown = Dialogs().calls;
    bool called = false;
    const auto function = [](void* flag) -> std::uint32_t {
        *static_cast<bool*>(flag) = true;
        return 7;
    };
    Thread thread(function, &called, true);
    std::uint32_t code = 1;
    const bool ended = thread.Wait(-1) && thread.GetExitCode(code) && !thread.IsRunning();
    ShowFatalError(kError);
    const bool good = IsTerminating() && ended && code == 0 && !called && Dialogs().calls == shown;
    std::_Exit(good ? 0 : 1);
}

TEST_F(FatalError, AConfirmedWindowTerminatesTheProcess) {
    const auto confirm = [] {
        Dialogs().answer = [] { return DialogResult::Confirmed; };
        ShowFatalError(kError);
        ExpectTerminating();
    };
    EXPECT_EXIT(confirm(), testing::ExitedWithCode(0), "");
}

TEST_F(FatalError, AWindowThatFailsToShowGivesABoxAndTerminatesTheProcess) {
    const auto fail = [] {
        Dialogs().answer = []() -> DialogResult { throw std::runtime_error("no window"); };
        ShowFatalError(kError);
        if (Dialogs().errorBox !=
            "Fatal Error|An error occurred trying to display the fatal error window! (0)") {
            std::_Exit(2);
        }
        ExpectTerminating();
    };
    EXPECT_EXIT(fail(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace Vorn
