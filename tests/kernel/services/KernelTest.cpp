// What stands once the kernel is up.
#include "kernel/services/Kernel.h"

#include <gtest/gtest.h>

#include "kernel/StartUp.h"
#include "kernel/services/Thread.h"
#include "kernel/services/WellKnownNames.h"

namespace Vorn {
namespace {

TEST(KernelStart, InternsTheWellKnownNamesAndRecordsTheMainThread) {
    const auto start = [](void*) {
        const Kernel kernel;
        return MainThreadId() == Thread::CurrentThreadId() ? 1u : 0u;
    };
    Thread thread(start, nullptr, true);
    std::uint32_t code = 0;
    EXPECT_TRUE(thread.Wait(-1) && thread.GetExitCode(code));
    EXPECT_EQ(code, 1u);

    const Kernel kernel;
    EXPECT_EQ(MainThreadId(), Thread::CurrentThreadId());
    const char* const texts[] = {"OnMinZoom",
                                 "OnMaxZoom",
                                 "OnMinPitch",
                                 "OnMaxPitch",
                                 "OnMinYaw",
                                 "OnMaxYaw",
                                 "OnMinRoll",
                                 "OnMaxRoll",
                                 "OnMinTargetPitch",
                                 "OnMaxTargetPitch",
                                 "OnMinTargetYaw",
                                 "OnMaxTargetYaw",
                                 "undefined",
                                 "default",
                                 "MCP",
                                 "NULL",
                                 "BaseLandscape",
                                 "Sky",
                                 "Main_void",
                                 "UserInterface",
                                 ""};
    ASSERT_EQ(std::size(texts), kWellKnownNameCount);
    for (std::size_t i = 0; i < kWellKnownNameCount; ++i) {
        EXPECT_EQ(NameOf(static_cast<WellKnownName>(i)), Intern(texts[i])) << texts[i];
    }
    EXPECT_STREQ(NameOf(WellKnownName::MainVoid).Text(), "Main_void");
    EXPECT_TRUE(NameOf(WellKnownName::Empty));
}

}  // namespace
}  // namespace Vorn
