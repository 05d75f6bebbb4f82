// A lock for static objects.
//
// It is constant-initialised on every system and has no destructor, so objects that are made before
// main or used while the process ends can rely on it; std::mutex promises this on some systems
// only. It cannot be entered again by its holder. Works with std::lock_guard. Threads: any.
#pragma once

#include <atomic>

namespace platform {

class Lock {
public:
    constexpr Lock() noexcept = default;
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    void lock() noexcept {
        if (try_lock()) return;
        // From here on this thread cannot know whether others wait, so it claims that they do.
        while (state_.exchange(kHeldWithWaiters, std::memory_order_acquire) != kFree) {
            state_.wait(kHeldWithWaiters, std::memory_order_relaxed);
        }
    }

    // Takes the lock if it is free. Never blocks: safe in a fault filter.
    [[nodiscard]] bool try_lock() noexcept {
        State expected = kFree;
        return state_.compare_exchange_strong(expected, kHeld, std::memory_order_acquire,
                                              std::memory_order_relaxed);
    }

    void unlock() noexcept {
        const State before = state_.exchange(kFree, std::memory_order_release);
        if (before == kHeldWithWaiters) state_.notify_one();
    }

private:
    using State = int;  // the width that systems can wait on without a detour
    static constexpr State kFree = 0;
    static constexpr State kHeld = 1;
    static constexpr State kHeldWithWaiters = 2;

    std::atomic<State> state_ = kFree;
};

}  // namespace platform
