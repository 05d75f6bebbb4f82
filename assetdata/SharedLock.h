// A lock that many readers hold at once, or one writer alone.
//
// A writer that waits goes before readers that come later, and readers that wait for a writer go
// before the next one, so that nobody waits for ever. Not recursive, in either way.
//
// While the main thread waits for it, it cleans the string pool, one bucket at a time: a main
// thread that waits has nothing better to do, and names that are no longer used are freed nowhere
// else.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>

#include "platform/ThreadAnnotations.h"

namespace Vorn {

class VORN_CAPABILITY("shared lock") SharedLock {
public:
    // The main thread sweeps once each time it has waited that long.
    explicit SharedLock(std::chrono::milliseconds sweepInterval = std::chrono::seconds(15));
    SharedLock(const SharedLock&) = delete;
    SharedLock& operator=(const SharedLock&) = delete;

    void Enter() VORN_ACQUIRE();
    void Leave() VORN_RELEASE();
    void EnterShared() VORN_ACQUIRE_SHARED();
    void LeaveShared() VORN_RELEASE_SHARED();

private:
    // Waits with `guard` held until `free` says that the lock can be taken.
    template <typename Condition>
    void WaitUntil(std::unique_lock<std::mutex>& guard, Condition free);

    const std::chrono::milliseconds sweepInterval_;
    std::mutex mutex_;  // guards the rest; never held while anything else is done
    std::condition_variable changed_;
    std::size_t readers_ = 0;
    std::size_t waitingReaders_ = 0;
    std::size_t waitingWriters_ = 0;
    std::size_t admittedReaders_ = 0;  // who may enter before the next writer
    bool written_ = false;
};

// Holds the lock alone for a scope.
class VORN_SCOPED_CAPABILITY ExclusiveGuard {
public:
    explicit ExclusiveGuard(SharedLock& lock) VORN_ACQUIRE(lock) : lock_(lock) { lock_.Enter(); }
    ~ExclusiveGuard() VORN_RELEASE() { lock_.Leave(); }
    ExclusiveGuard(const ExclusiveGuard&) = delete;
    ExclusiveGuard& operator=(const ExclusiveGuard&) = delete;

private:
    SharedLock& lock_;
};

// Holds the lock together with other readers for a scope.
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
