// The fatal-error window: what it says, how often it shows, and what a confirmation does.
#include "services/FatalError.h"

#include "platform/Dialogs.h"
#include "services/Thread.h"
#include "tests/services/LogFixture.h"

namespace {

// Stands in for the system's dialogs: what the user does, and what was shown.
struct {
    // The user's answer; without one the dialog is not shown, as in a program without it.
    std::function<platform::DialogResult()> answer;
    std::atomic<int> calls = 0;
    int resource = 0;
    std::string text;  // of the last dialog
    std::string errorBox;
} dialogs;

}  // namespace

namespace platform {

// These take the place of the layer's own, which the linker then leaves out.
DialogResult ShowDialog(int resource, const std::function<std::string()>& fillText) {
    ++dialogs.calls;
    dialogs.resource = resource;
    if (!dialogs.answer) return DialogResult::NotShown;
    dialogs.text = fillText();
    return dialogs.answer();
}

void ShowErrorBox(const char* caption, const char* text) {
    dialogs.errorBox = std::string(caption) + "|" + text;
}

}  // namespace platform

namespace Vorn::Testing {
namespace {

using platform::DialogResult;

const Exception kError("kernel/Some", 12, "It broke");

class FatalError : public LogFixture {
protected:
    void TearDown() override { dialogs.answer = nullptr; }

    [[noreturn]] void ExpectTerminating(const std::function<DialogResult()>& answer,
                                        const char* box);
};

TEST_F(FatalError, SaysWhereWhatAndWhyAndEndsTheLogWithIt) {
    dialogs.answer = [] { return DialogResult::Cancelled; };
    Init("-LogDisplayModuleName- -Log=ExceptionHandler:Err:newlines=off");
    ShowFatalError(kError);
    EXPECT_EQ(dialogs.resource, 101);
    EXPECT_EQ(dialogs.text,
              "File: kernel/Some\r\nLine: 12\r\nClass: Unknown\r\nReason: It broke\r\n"
              "Version: Vorn vRRRRR.RR Build 1234.5.QQQQQ\r\nNo call stack available\r\n");
    EXPECT_EQ(Body(), "Begin:\r\n" + dialogs.text + "Shutdown.\r\n")
        << "lines keep their ends, whatever the log puts behind them";
    ShowFatalError(FileEx("", 0, "x"));
    EXPECT_EQ(dialogs.text,
              "Class: File\r\nReason: x\r\nVersion: Vorn vRRRRR.RR Build 1234.5.QQQQQ\r\n"
              "No call stack available\r\n");
}

TEST_F(FatalError, AnExceptionThatCannotBeToldStillEndsTheLog) {
    class Untellable : public Exception {
    public:
        Untellable() : Exception("", 0, "") {}
        [[nodiscard]] const char* GetReason() const override { throw std::bad_alloc(); }
    };
    dialogs.answer = [] { return DialogResult::Cancelled; };
    Init("");
    ShowFatalError(Untellable());
    EXPECT_EQ(dialogs.text, "Problem creating exception report");
    EXPECT_EQ(Body(), "Begin:\r\nShutdown.\r\n");
}

TEST_F(FatalError, ShowsOneWindowAtATimeAndAgainLater) {
    const int before = dialogs.calls;
    dialogs.answer = [] {
        const int shown = dialogs.calls;
        Thread other([](void*) -> std::uint32_t { throw kError; }, nullptr, true);
        EXPECT_TRUE(other.Wait(-1));
        EXPECT_EQ(dialogs.calls, shown);
        return DialogResult::Cancelled;
    };
    ShowFatalError(kError);
    ShowFatalError(kError);
    EXPECT_EQ(dialogs.calls, before + 2);
    EXPECT_FALSE(IsTerminating());
}

TEST_F(FatalError, OfAThreadIsAKernelExceptionOnly) {
    const int before = dialogs.calls;
    const Table<ThreadFunction, int> threads = {
        {[](void*) -> std::uint32_t { throw AssertEx(); }, 0},
        {[](void*) -> std::uint32_t { throw FileEx("File", 1, "Logic Error"); }, 1}};
    for (const auto& [function, shown] : threads) {
        Thread thread(function, nullptr, true);
        std::uint32_t code = 99;
        EXPECT_TRUE(thread.Wait(-1) && thread.GetExitCode(code));
        EXPECT_EQ(code, 0u);
        EXPECT_EQ(dialogs.calls, before + shown);
    }
}

// Ends the process with 0 when the process counts as terminating after such an answer: a new
// thread's function is not called and no other window shows.
void FatalError::ExpectTerminating(const std::function<DialogResult()>& answer, const char* box) {
    dialogs.answer = answer;
    ShowFatalError(kError);
    const int shown = dialogs.calls;
    bool called = false;
    const auto function = [](void* flag) { return *static_cast<bool*>(flag) = true, 7u; };
    Thread thread(function, &called, true);
    std::uint32_t code = 1;
    const bool ended = thread.Wait(-1) && thread.GetExitCode(code) && !thread.IsRunning();
    ShowFatalError(kError);
    const bool quiet = ended && code == 0 && !called && dialogs.calls == shown;
    // The fixture's destructor does not run, and this process has a separate folder.
    fs::remove_all(folder_.Path());
    std::_Exit(quiet && IsTerminating() && dialogs.errorBox == box ? 0 : 1);
}

TEST_F(FatalError, ThatIsConfirmedOrFailsToShowTerminatesTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto confirm = [] { return DialogResult::Confirmed; };
    EXPECT_EXIT(ExpectTerminating(confirm, ""), testing::ExitedWithCode(0), "");
    const auto fail = []() -> DialogResult { throw std::runtime_error("no window"); };
    const char* box = "Fatal Error|An error occurred trying to display the fatal error window! (0)";
    EXPECT_EXIT(ExpectTerminating(fail, box), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace Vorn::Testing
