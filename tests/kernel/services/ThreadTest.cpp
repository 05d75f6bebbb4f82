// Kernel threads: their start and their end.
#include "kernel/services/Thread.h"

#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

TEST(Threads, EndWithTheResultOfTheirFunction) {
    std::uint32_t id = 0;
    const auto function = [](void* argument) {
        *static_cast<std::uint32_t*>(argument) = Thread::CurrentThreadId();
        return 0xFFFFFFF0u;
    };
    Thread thread(function, &id, true);
    std::uint32_t code = 99;
    EXPECT_TRUE(thread.IsValid() && thread.Wait(-1) && thread.GetExitCode(code));
    EXPECT_FALSE(thread.IsRunning());
    EXPECT_EQ(code, 0xFFFFFFF0u);
    EXPECT_TRUE(id != 0 && id != Thread::CurrentThreadId());
}

TEST(Threads, CreatedSuspendedRunWhenResumedOrDestroyed) {
    std::atomic<int> calls = 0;
    const auto function = [](void* counter) {
        ++*static_cast<std::atomic<int>*>(counter);
        return 1u;
    };
    {
        Thread resumed(function, &calls, false);
        const Thread destroyed(function, &calls, false);
        std::uint32_t code = 0;
        EXPECT_FALSE(resumed.Wait(20));
        EXPECT_TRUE(calls == 0 && resumed.IsRunning() && !resumed.GetExitCode(code));
        EXPECT_TRUE(resumed.SetPriority(0));

        EXPECT_TRUE(resumed.Resume());
        EXPECT_TRUE(resumed.Wait(-1));
        EXPECT_EQ(calls, 1);
    }
    EXPECT_EQ(calls, 2);
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

}  // namespace
}  // namespace Vorn::Testing
