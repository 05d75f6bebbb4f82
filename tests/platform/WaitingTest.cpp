#include <sys/resource.h>

#include <mutex>
#include <thread>

#include "platform/Clock.h"
#include "platform/Lock.h"
#include "platform/Threads.h"
#include "tests/support/Tests.h"

namespace platform {
namespace {

using namespace Vorn::Testing;

std::unique_ptr<Thread> Start(const std::function<void()>& function, bool suspended = false) {
    return MakeThread([function] { return function(), 0xFFFFFFFEU; }, suspended);
}

TEST(Waiting, EventsStaySetOrReleaseOne) {
    for (const bool manual : {false, true}) {
        SCOPED_TRACE(manual);
        const auto event = MakeEvent(manual, true, nullptr);
        EXPECT_TRUE(event->Wait(0));
        EXPECT_EQ(event->Wait(0), manual);
        event->Reset();
        EXPECT_FALSE(event->Wait(0));
        event->Set();
        event->Pulse();  // nobody waits
        EXPECT_FALSE(event->Wait(0));
    }
}

TEST(Waiting, PulseReleasesThoseThatWaitNow) {
    for (const bool manual : {false, true}) {
        SCOPED_TRACE(manual);
        const auto event = MakeEvent(manual, false, "");
        std::atomic<int> released = 0;
        std::atomic<int> started = 0;
        const auto wait = [&] {
            ++started;
            released += event->Wait(kWaitForever) ? 1 : 0;
        };
        const std::array threads = {Start(wait), Start(wait), Start(wait)};
        while (started < 3) SleepMilliseconds(1);
        SleepMilliseconds(50);  // time to enter the wait
        event->Pulse();
        SleepMilliseconds(50);
        EXPECT_EQ(released, manual ? 3 : 1);
        EXPECT_FALSE(event->Wait(0));
        for (; released < 3; SleepMilliseconds(1)) event->Set();
    }
}

TEST(Waiting, SemaphoresCount) {
    const auto semaphore = MakeSemaphore(1, 3, nullptr);
    EXPECT_TRUE(semaphore->Wait(0));
    EXPECT_FALSE(semaphore->Wait(0));
    for (const int count : {0, -1, 4}) EXPECT_FALSE(semaphore->Release(count)) << count;
    EXPECT_TRUE(semaphore->Release(2));
    EXPECT_FALSE(semaphore->Release(2147483647));
    EXPECT_TRUE(semaphore->Release(1));
    EXPECT_TRUE(semaphore->Wait(0) && semaphore->Wait(0) && semaphore->Wait(0));
    EXPECT_FALSE(semaphore->Wait(0));
}

TEST(Waiting, MutexesHaveOneOwnerThatMayReenter) {
    const auto mutex = MakeMutex(true, nullptr);
    EXPECT_TRUE(mutex->Wait(0));
    const auto tried = MakeEvent(true, false, nullptr);
    std::atomic<bool> taken = true;
    std::atomic<bool> released = true;
    const auto other = Start([&] {
        taken = mutex->Wait(10);
        released = mutex->Release();
        tried->Set();
        taken = taken || !mutex->Wait(kWaitForever);
    });
    EXPECT_TRUE(tried->Wait(10000) && mutex->Release());
    EXPECT_FALSE(other->Wait(20));  // still owned once
    EXPECT_TRUE(mutex->Release() && other->Wait(10000));
    EXPECT_FALSE(taken || released || mutex->Release());
}

TEST(Waiting, AMutexOfAnEndedThreadGoesToTheNextWaiter) {
    const auto mutex = MakeMutex(false, nullptr);
    {
        const auto owner =
            MakeThread([&] { return mutex->Wait(0) && mutex->Wait(0) ? 1U : 0U; }, false);
        EXPECT_TRUE(owner->Wait(kWaitForever) && mutex->Wait(0))
            << "free as soon as the end is visible";
    }
    EXPECT_TRUE(mutex->Release() && !mutex->Release()) << "owned once";

    // Threads that this layer did not start also release their mutexes at their end.
    const auto taken = MakeEvent(true, false, nullptr);
    const auto end = MakeEvent(true, false, nullptr);
    std::thread foreign([&] {
        EXPECT_TRUE(mutex->Wait(0));
        taken->Set();
        EXPECT_TRUE(end->Wait(kWaitForever));
    });
    EXPECT_TRUE(taken->Wait(kWaitForever) && !mutex->Wait(0) && !mutex->Release());
    const auto waiter = MakeThread([&] { return mutex->Wait(kWaitForever) ? 1U : 0U; }, false);
    end->Set();
    foreign.join();
    EXPECT_TRUE(waiter->Wait(20'000));
}

TEST(Waiting, AnyTakesTheFirstSignalledOnly) {
    const auto a = MakeEvent(false, false, nullptr);
    const auto b = MakeSemaphore(1, 1, nullptr);
    const auto c = MakeEvent(false, true, nullptr);
    const std::array<Waitable*, 3> all = {a.get(), b.get(), c.get()};
    EXPECT_EQ(WaitForAny(all, 0), 1);
    EXPECT_EQ(WaitForAny(all, kWaitForever), 2);
    const std::uint32_t start = TickMilliseconds();
    EXPECT_EQ(WaitForAny(all, 30), -1);
    EXPECT_GE(TickMilliseconds() - start, 29u);
    const auto setter = Start([&] {
        SleepMilliseconds(20);
        c->Set();
        a->Set();
    });
    EXPECT_EQ(WaitForAny(all, 10000) % 2, 0);
    EXPECT_EQ(WaitForAny({}, 0), -1);
}

TEST(Waiting, NamesAreSharedByType) {
    const auto first = MakeEvent(true, false, "name");
    const auto second = MakeEvent(false, true, "name");
    EXPECT_EQ(first, second);
    EXPECT_NE(first, MakeEvent(true, true, "Name"));
    EXPECT_FALSE(second->Wait(0));
    EXPECT_TRUE(MakeMutex(false, "name")->Wait(0));
    EXPECT_NE(MakeEvent(true, true, ""), MakeEvent(true, true, ""));
    EXPECT_TRUE(MakeSemaphore(1, 1, "gone")->Wait(0));
    EXPECT_TRUE(MakeSemaphore(1, 1, "gone")->Wait(0));  // the first had no opener left
}

TEST(Threads, RunSuspendEndAndTellTheirCode) {
    std::atomic<std::uint32_t> id = 0;
    auto owned = std::make_shared<int>(1);
    const std::weak_ptr<int> watch = owned;
    const auto thread = Start([&id, owned = std::move(owned)] { id = CurrentThreadId(); }, true);
    std::uint32_t code = 1;
    EXPECT_FALSE(thread->Wait(30) || thread->GetExitCode(code));
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(code, 1u);
    EXPECT_TRUE(thread->Resume() && thread->Wait(10000) && thread->Wait(0));
    EXPECT_TRUE(watch.expired());  // before the end is visible
    EXPECT_TRUE(thread->GetExitCode(code));
    EXPECT_EQ(code, 0xFFFFFFFEU);
    EXPECT_NE(id, CurrentThreadId());
    EXPECT_TRUE(thread->SetPriority(0));
    EXPECT_FALSE(thread->SetPriority(-1));  // it has ended

    id = 0;
    Start([&id] { id = 1; }, true).reset();
    EXPECT_EQ(id, 0u) << "never resumed, never run";
}

TEST(Threads, PriorityReachesTheSystem) {
    const int own = getpriority(PRIO_PROCESS, CurrentThreadId());
    std::atomic<std::uint32_t> id = 0;
    const auto gate = MakeEvent(true, false, nullptr);
    const auto thread = Start([&] {
        id = CurrentThreadId();
        (void)gate->Wait(kWaitForever);
    });
    EXPECT_TRUE(thread->SetPriority(-100));  // clamped to the lowest
    while (id == 0) SleepMilliseconds(1);
    EXPECT_EQ(getpriority(PRIO_PROCESS, id), 15);
    EXPECT_EQ(getpriority(PRIO_PROCESS, CurrentThreadId()), own);
    gate->Set();
}

constinit Lock counterLock;

TEST(Lock, AdmitsOneThreadAndWakesTheNext) {
    constexpr int kRounds = 2000;
    int counter = 0;
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&counter] {
                for (int i = 0; i < kRounds; ++i) {
                    const std::lock_guard guard(counterLock);
                    const int before = counter;
                    if (i % 100 == 0) SleepMilliseconds(1);  // long enough for the others to sleep
                    counter = before + 1;
                }
            });
        }
    }
    EXPECT_EQ(counter, 4 * kRounds);
    ASSERT_TRUE(counterLock.try_lock());
    EXPECT_FALSE(counterLock.try_lock());
    counterLock.unlock();
}

}  // namespace
}  // namespace platform
