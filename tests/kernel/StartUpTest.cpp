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
              "early object, pool there\n"
              "last registered, pool there\n"
              "first registered, pool there\n"
              "registered during teardown, pool there\n");
}

// From too little for the loader to enough for all.
TEST(StartUp, WithoutMemoryEndsWith1AndALine) {
    if (VORN_SANITIZED) GTEST_SKIP() << "the sanitizer needs more than any limit";
    const TempFolder folder;
    int ended = 0;
    for (int limit = 4000, code = 127; limit < 12'000 && code != 0; limit += 20) {
        SCOPED_TRACE(limit);
        code = Shell("ulimit -c 0; ulimit -v " + std::to_string(limit) +
                     "; exec '" VORN_LIFECYCLE_PROGRAM "' " + folder.Path("told") + " 2>" +
                     folder.Path("errors"));
        const std::string errors = folder.Read("errors");
        if (code == 1 && errors.starts_with("out of memory; ")) ++ended;
        EXPECT_TRUE(code == 0 || code == 127 || code == 1) << code << errors;
    }
    EXPECT_GT(ended, 0);
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
