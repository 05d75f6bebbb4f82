#include "assetdata/SharedLock.h"
#include "kernel/StringPool.h"
#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

using namespace std::chrono_literals;

std::uint64_t PooledTexts() { return GetStringPool().GetStatistics().entries; }

TEST(InterfaceTextLock, ReadersShareAndWritersDoNot) {
    SharedLock lock;
    {
        const SharedGuard first(lock);
        InThreads(1, [&](std::size_t) { const SharedGuard second(lock); });
    }
    int value = 0;  // not atomic: the lock is all that guards it
    InThreads(4, [&](std::size_t) {
        for (int i = 0; i < 300; ++i) {
            const ExclusiveGuard guard(lock);
            const int before = value;
            std::this_thread::yield();
            value = before + 1;
        }
    });
    EXPECT_EQ(value, 1200);
}

TEST(InterfaceTextLock, TheMainThreadAloneSweepsThePoolWhileItWaits) {
    SharedLock lock(0ms);
    for (const bool exclusive : {false, true}) {
        SCOPED_TRACE(exclusive);
        for (int i = 0; i < 5000; ++i) (void)Intern("litter " + std::to_string(i));
        const std::uint64_t before = PooledTexts();
        lock.Enter();
        std::jthread waiting([&] { const SharedGuard guard(lock); });
        std::this_thread::sleep_for(30ms);
        EXPECT_EQ(PooledTexts(), before);
        lock.Leave();

        std::atomic<bool> held = false;
        std::jthread holder([&] {
            const ExclusiveGuard guard(lock);
            held = true;
            // A pass over all buckets; the main thread sweeps only while this holds the lock.
            for (int i = 0; i < 20000 && PooledTexts() + 5000 > before; ++i) {
                std::this_thread::sleep_for(1ms);
            }
        });
        while (!held) std::this_thread::yield();
        if (exclusive) {
            const ExclusiveGuard guard(lock);
        } else {
            const SharedGuard guard(lock);
        }
        EXPECT_LE(PooledTexts() + 5000, before);
    }
}

}  // namespace
}  // namespace Vorn::Testing
