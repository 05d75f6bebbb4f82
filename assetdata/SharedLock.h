// A lock held by many readers at once or by one writer alone. Not recursive for either.
//
// Fair both ways: a waiting writer blocks later readers, and readers that waited for a writer enter
// before the next one.
//
// While the main thread waits for the lock it sweeps the string pool, one bucket at a time: it has
// nothing else to do then, and unused names are freed nowhere else.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>

#include "platform/ThreadAnnotations.h"

namespace Vorn {

class VORN_CAPABILITY("shared lock") SharedLock {
public:
    // Makes a free lock. The main thread sweeps one bucket each time it has waited this long.
    explicit SharedLock(std::chrono::milliseconds sweepInterval = std::chrono::seconds(15));
    SharedLock(const SharedLock&) = delete;
    SharedLock& operator=(const SharedLock&) = delete;

    void Enter() VORN_ACQUIRE();
    void Leave() VORN_RELEASE();
    void EnterShared() VORN_ACQUIRE_SHARED();
    void LeaveShared() VORN_RELEASE_SHARED();

private:
    // Waits with `guard` held until `free` returns true.
    template <typename Condition>
    void WaitUntil(std::unique_lock<std::mutex>& guard, Condition free);

    const std::chrono::milliseconds sweepInterval_;
    std::mutex mutex_;  // guards the rest; innermost
    std::condition_variable changed_;
    std::size_t readers_ = 0;
    std::size_t waitingReaders_ = 0;
    std::size_t waitingWriters_ = 0;
    std::size_t admittedReaders_ = 0;  // may enter before the next writer
    bool written_ = false;
};

// Holds the lock as the writer for a scope.
class VORN_SCOPED_CAPABILITY ExclusiveGuard {
public:
    explicit ExclusiveGuard(SharedLock& lock) VORN_ACQUIRE(lock) : lock_(lock) { lock_.Enter(); }
    ~ExclusiveGuard() VORN_RELEASE() { lock_.Leave(); }
    ExclusiveGuard(const ExclusiveGuard&) = delete;
    ExclusiveGuard& operator=(const ExclusiveGuard&) = delete;

private:
    SharedLock& lock_;
};

// Holds the lock as a reader for a scope.
class VORN_SCOPED_CAPABILITY SharedGuard {
public:
    explicit SharedGuard(SharedLock& lock) VORN_ACQUIRE_SHARED(lock) : lock_(lock) {
        lock_.EnterShared();
    }
    ~SharedGuard() VORN_RELEASE() { lock_.LeaveShared(); }
    SharedGuard(const SharedGuard&) = delete;
    SharedGuard& operator=(const SharedGuard&) = delete;

private:
    SharedLock& lock_;
};

}  // namespace Vorn
