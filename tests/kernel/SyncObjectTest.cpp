#include "kernel/SyncObject.h"

#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

// How the platform's objects behave is tested with them: here, that each call reaches its own.
TEST(SyncObject, EventsSemaphoresAndMutexesReachThoseOfThePlatform) {
    WEvent event(true, false, nullptr);
    EXPECT_FALSE(event.Wait(1));
    event.Set();
    EXPECT_TRUE(event.Wait(0) && event.Wait(-1) && event.Unlock());
    event.Reset();
    EXPECT_FALSE(event.Wait(0) || event.ReleaseCount(1));
    event.Set();
    event.Pulse();
    EXPECT_FALSE(event.Wait(0));
    WEvent automatic(false, true, nullptr);
    EXPECT_TRUE(automatic.Wait(0) && !automatic.Wait(0));

    Semaphore semaphore(platform::MakeSemaphore(2, 2, nullptr));
    EXPECT_FALSE(semaphore.ReleaseCount(3) || semaphore.Unlock());
    EXPECT_TRUE(semaphore.Wait(0) && semaphore.Wait(0));
    EXPECT_TRUE(!semaphore.Wait(0) && semaphore.ReleaseCount(2) && semaphore.Wait(0));

    Mutex mutex(platform::MakeMutex(false, nullptr));
    EXPECT_TRUE(mutex.Wait(0) && mutex.Wait(0));
    EXPECT_TRUE(mutex.ReleaseCount(7) && mutex.Unlock()) << "once, whatever the count";
    EXPECT_FALSE(mutex.Unlock());
}

TEST(SyncObject, CriticalSectionsExcludeOtherThreadsOnly) {
    CriticalSection section("Test");
    EXPECT_EQ(section.GetHandle(), nullptr);
    EXPECT_FALSE(section.ReleaseCount(1));
    int counter = 0;
    InThreads(4, [&](std::size_t) {
        for (int i = 0; i < 2000; ++i) {
            const ScopedLock outer(section);
            EXPECT_TRUE(section.Wait(0));  // entered again; the time-out counts for nothing
            ++counter;
            EXPECT_TRUE(section.Unlock());
        }
    });
    EXPECT_EQ(counter, 8000);
}

TEST(SyncObject, HoldersGiveBackWhatTheyHoldAndKeepWhatTheyCannot) {
    Semaphore first(platform::MakeSemaphore(1, 1, nullptr));
    WEvent second(true, false, nullptr);
    Semaphore third(platform::MakeSemaphore(1, 1, nullptr));
    { const ScopedUnlock unlock(first, first.Wait(0)); }
    ScopedUnlock full(first, true);
    full.Release();
    EXPECT_TRUE(full.IsLocked());
    {
        WaitSet set({&first, &second, &third});
        EXPECT_TRUE(set.Wait(0, 0) && set.Wait(2, 0));
        EXPECT_FALSE(set.Wait(1, 0) || set.IsLocked(1));
        EXPECT_TRUE(third.Unlock());  // behind the set's back: its own unlock fails
        set.Release();
        EXPECT_TRUE(!set.IsLocked(0) && set.IsLocked(2));
        EXPECT_TRUE(third.Wait(0));
    }
    EXPECT_TRUE(first.Wait(0) && third.Wait(0));
    WaitSet empty({nullptr, nullptr, nullptr});
    EXPECT_FALSE(empty.Wait(0, 0));
}

}  // namespace
}  // namespace Vorn::Testing
