#include "kernel/StartUp.h"

#include "kernel/Exceptions.h"
#include "platform/Threads.h"
#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

TEST(StartUp, RunsBeforeMainAndTearsDownInReverseOrder) {
    EXPECT_EQ(MainThreadId(), platform::CurrentThreadId());
    const TempFolder folder;
    EXPECT_EQ(Shell("'" VORN_LIFECYCLE_PROGRAM "' " + folder.Path("told")), 0);
    EXPECT_EQ(folder.Read("told"),
              "main, pool there\n"
              "interned before main, pool there\n"
              "last registered, pool there\n"
              "first registered, pool there\n"
              "registered during teardown, pool there\n"
              "early object, pool gone\n");
}

TEST(StartUp, TheTeardownListHolds1024) {
    const auto fill = []() -> int {
        for (int i = 0; i < 1023; ++i) RegisterTeardown([] {});  // the pool's is the first
        try {
            RegisterTeardown([] {});
        } catch (const Exception&) {
            std::exit(7);
        }
        return 0;
    };
    EXPECT_EQ(InChild(fill), 7);
}

}  // namespace
}  // namespace Vorn::Testing
