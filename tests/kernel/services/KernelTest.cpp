// What stands once the kernel is up.
#include "kernel/services/Kernel.h"

#include <gtest/gtest.h>

#include <utility>

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
    const std::pair<WellKnownName, const char*> rows[] = {
        {WellKnownName::OnMinZoom, "OnMinZoom"},
        {WellKnownName::OnMaxTargetYaw, "OnMaxTargetYaw"},
        {WellKnownName::Undefined, "undefined"},
        {WellKnownName::Mcp, "MCP"},
        {WellKnownName::MainVoid, "Main_void"},
        {WellKnownName::UserInterface, "UserInterface"},
        {WellKnownName::Empty, ""}};
    for (const auto& [name, text] : rows) EXPECT_EQ(NameOf(name), Intern(text)) << text;
}

}  // namespace
}  // namespace Vorn
