// Clocks, debugger, dialogs and libraries.
#include "platform/Clock.h"
#include "platform/Debugger.h"
#include "platform/Dialogs.h"
#include "platform/Directories.h"
#include "platform/Libraries.h"
#include "tests/support/Tests.h"

namespace platform {
namespace {

TEST(Clock, IntervalsAgree) {
    const std::uint32_t ticks = TickMilliseconds();
    const std::uint64_t counter = PerformanceCounter();
    SleepMilliseconds(30);
    const std::uint64_t steps = PerformanceCounter() - counter;
    const std::uint32_t outside = TickMilliseconds() - ticks;
    const std::uint64_t inside = steps * 1000 / PerformanceFrequency();
    EXPECT_GE(inside, 30u);
    EXPECT_GE(outside + 1, inside);
    EXPECT_LT(outside, inside + 5000);  // wide: must catch a wrong unit, not a busy machine
    EXPECT_GT(WallClockSeconds(), 1'700'000'000);
}

TEST(Clock, LocalTimeFollowsTheZone) {
    setenv("TZ", "EST5", 1);
    tzset();
    const LocalTime t = ToLocalTime(951782400 + 5 * 3600 + 3723);  // 2000-02-29 UTC
    EXPECT_EQ(std::tuple(t.year, t.month, t.day, t.hour, t.minute, t.second),
              std::tuple(2000, 2, 29, 1, 2, 3));
    EXPECT_EQ(ToLocalTime(0).year, 1969);
    EXPECT_EQ(ToLocalTime(INT64_MAX).month, 0);
    unsetenv("TZ");
    tzset();
}

TEST(Debugger, OutputIsSilentUnlessAskedFor) {
    if (IsDebuggerPresent()) GTEST_SKIP() << "a debugger is attached";
    unsetenv("VORN_DEBUG_OUTPUT");
    testing::internal::CaptureStderr();
    DebugOutput("silent\n");
    setenv("VORN_DEBUG_OUTPUT", "", 1);
    DebugOutput("100%s\n");
    unsetenv("VORN_DEBUG_OUTPUT");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "100%s\n");
}

TEST(Dialogs, AreNotShownAndErrorsGoToStandardError) {
    bool asked = false;
    const auto ask = [&asked] { return asked = true, std::string(); };
    EXPECT_EQ(ShowDialog(1, ask), DialogResult::NotShown);
    EXPECT_FALSE(asked);
    testing::internal::CaptureStderr();
    ShowErrorBox("Title", "Text");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Title: Text\n");
}

TEST(Libraries, SymbolsAreFoundWhileLoaded) {
    std::string path = SAMPLE_LIBRARY;
    path.replace(path.rfind('/'), 1, "\\");
    path.replace(path.rfind("sample"), 6, "Sample");
    Library library;
    EXPECT_EQ(library.Find("SampleAnswer"), nullptr);
    EXPECT_EQ(LoadedLibraryPath("platform_sample.so"), "");
    ASSERT_TRUE(library.Load(path.c_str()));
    EXPECT_TRUE(IsSameFile(LoadedLibraryPath("Platform_Sample.so").c_str(), SAMPLE_LIBRARY));
    Library moved = std::move(library);
    void* const symbol = moved.Find("SampleAnswer");
    ASSERT_NE(symbol, nullptr);
    EXPECT_EQ(reinterpret_cast<int (*)()>(symbol)(), 42);
    EXPECT_EQ(moved.Find("NoSuchSymbol"), nullptr);
    for (const char* absent : {"", "absent.so", "/dev/null"}) {
        EXPECT_FALSE(moved.Load(absent)) << absent;
        EXPECT_FALSE(moved.IsLoaded());
    }
    ASSERT_TRUE(moved.LoadProgram());
    EXPECT_EQ(moved.Find("SampleAnswer"), nullptr);  // freed
    EXPECT_NE(moved.Find("malloc"), nullptr);
}

}  // namespace
}  // namespace platform
