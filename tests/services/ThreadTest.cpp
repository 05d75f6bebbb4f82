// Kernel threads: their start and their end.
#include "services/Thread.h"

#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

TEST(Threads, RunWhenStartedResumedOrDestroyedAndEndWithTheirResult) {
    std::atomic<std::uint32_t> ids[3] = {};
    const auto function = [](void* id) {
        *static_cast<std::atomic<std::uint32_t>*>(id) = Thread::CurrentThreadId();
        return 0xFFFFFFF0u;
    };
    std::uint32_t code = 0;
    {
        Thread started(function, &ids[0], true);
        Thread resumed(function, &ids[1], false);
        const Thread destroyed(function, &ids[2], false);
        EXPECT_FALSE(resumed.Wait(20) || resumed.GetExitCode(code));
        EXPECT_TRUE(ids[1] == 0 && resumed.IsRunning() && resumed.SetPriority(0));
        EXPECT_TRUE(resumed.Resume() && resumed.Wait(-1) && started.Wait(-1));
        EXPECT_TRUE(started.GetExitCode(code) && !started.IsRunning());
        EXPECT_EQ(code, 0xFFFFFFF0u);
    }
    for (const auto& id : ids) EXPECT_TRUE(id != 0 && id != Thread::CurrentThreadId());
}

TEST(Threads, DestructionAsksARunningThreadToStop) {
    struct Shared {
        WEvent ready{true, false, nullptr};
        std::unique_ptr<Thread> thread;
        int taken = -1;
    } shared;
    const auto function = [](void* argument) {
        auto& mine = *static_cast<Shared*>(argument);
        WEvent never(true, false, nullptr);
        std::array<platform::Waitable*, 2> waits = {never.GetHandle(), mine.thread->GetHandle()};
        mine.ready.Set();
        mine.taken = platform::WaitForAny(waits, -1);
        return 0u;
    };
    shared.thread = std::make_unique<Thread>(function, &shared, false);
    EXPECT_TRUE(shared.thread->Resume());
    EXPECT_TRUE(shared.ready.Wait(-1));
    EXPECT_FALSE(shared.thread->Wait(0));
    shared.thread = nullptr;
    EXPECT_EQ(shared.taken, 1);
}

// The function may use its object although the constructor has not returned; the thread sanitizer
// sees it when that is not so.
TEST(Threads, FindACompleteObjectFromTheFirstLineOn) {
    for (int i = 0; i < 200; ++i) {
        alignas(Thread) std::array<std::byte, sizeof(Thread)> place;
        const auto function = [](void* self) {
            return static_cast<Thread*>(self)->IsValid() ? 1u : 0u;
        };
        auto* thread = new (place.data()) Thread(function, place.data(), true);
        std::uint32_t code = 0;
        EXPECT_TRUE(thread->Wait(-1) && thread->GetExitCode(code));
        EXPECT_EQ(code, 1u);
        thread->~Thread();
    }
}

TEST(Threads, WithoutMemoryEndTheProcessWith1AndALine) {
    if (VORN_SANITIZED) GTEST_SKIP() << "the sanitizer takes such requests for errors";
    const auto run = [] {
        const auto take = [](void*) -> std::uint32_t {
            std::vector<char> most;
            return most.resize(most.max_size()), 0;
        };
        Thread thread(take, nullptr, true);
        std::exit(thread.Wait(20'000) ? 7 : 8);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(1), "^out of memory; [^\n]+\n$");
}

}  // namespace
}  // namespace Vorn::Testing
