#include "kernel/StartUp.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "kernel/Exceptions.h"
#include "kernel/StringPool.h"
#include "platform/Processes.h"
#include "platform/Threads.h"

namespace Vorn {
namespace {

std::string OutputOfLifecycleProgram() {
    const std::string file =
        testing::TempDir() + "lifecycle-" + std::to_string(platform::CurrentProcessId());
    platform::Process child;
    const std::string command = std::string("\"") + VORN_LIFECYCLE_PROGRAM + "\" \"" + file + "\"";
    std::uint32_t code = 99;
    EXPECT_TRUE(child.Start(command.c_str(), platform::Console::Shared));
    EXPECT_TRUE(child.Wait(platform::kWaitForever));
    EXPECT_TRUE(child.GetExitCode(code));
    EXPECT_EQ(code, 0u);
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    std::filesystem::remove(file);
    return text.str();
}

TEST(StartUp, TearsDownInTheReverseOrderOfBirth) {
    EXPECT_EQ(OutputOfLifecycleProgram(),
              "main, pool there\n"
              "interned before main, pool there\n"
              "last registered, pool there\n"
              "first registered, pool there\n"
              "registered during teardown, pool there\n"
              "early object, pool gone\n");
}

TEST(StartUp, HasRunBeforeMain) {
    EXPECT_NE(FindStringPool(), nullptr);
    EXPECT_EQ(MainThreadId(), platform::CurrentThreadId());
}

TEST(StartUp, TheTeardownListHolds1024) {
    EXPECT_EXIT(
        {
            for (int i = 0; i < 1023; ++i) RegisterTeardown([] {});  // the pool's is the first
            try {
                RegisterTeardown([] {});
            } catch (const Exception&) {
                std::exit(7);
            }
        },
        testing::ExitedWithCode(7), "");
}

}  // namespace
}  // namespace Vorn
