// Locks and events behind one interface for waiting and releasing.
//
// Times are in milliseconds; -1 waits indefinitely. Every class may be used from any thread.
#pragma once

#include <array>
#include <memory>

#include "platform/ThreadAnnotations.h"
#include "platform/Threads.h"

namespace Vorn {

class SyncObject {
public:
    SyncObject() = default;
    SyncObject(const SyncObject&) = delete;
    SyncObject& operator=(const SyncObject&) = delete;
    virtual ~SyncObject() = default;

    // Returns the object for waits on several objects at once, or null.
    [[nodiscard]] virtual platform::Waitable* GetHandle() { return handle_.get(); }
    // True only if the object was signalled in time.
    [[nodiscard]] virtual bool Wait(int timeout);
    [[nodiscard]] virtual bool ReleaseCount(int count);
    virtual bool Unlock();

protected:
    std::shared_ptr<platform::Waitable> handle_;
};

// Wraps a mutex of the platform, which the owner creates.
class Mutex final : public SyncObject {
public:
    explicit Mutex(std::shared_ptr<platform::Mutex> mutex);
    // Releases once and ignores the count.
    [[nodiscard]] bool ReleaseCount(int count) override;
    bool Unlock() override;

private:
    std::shared_ptr<platform::Mutex> mutex_;
};

class Semaphore final : public SyncObject {
public:
    explicit Semaphore(std::shared_ptr<platform::Semaphore> semaphore);
    [[nodiscard]] bool ReleaseCount(int count) override;
    bool Unlock() override;

private:
    std::shared_ptr<platform::Semaphore> semaphore_;
};

class WEvent final : public SyncObject {
public:
    // Events with the same name are one event; a null name makes a separate one.
    WEvent(bool manualReset, bool initiallySet, const char* name);
    void Set();
    void Pulse();
    void Reset();
    bool Unlock() override { return true; }

private:
    std::shared_ptr<platform::Event> event_;
};

// A recursive lock. Waiting for it ignores the time-out.
class VORN_CAPABILITY("critical section") CriticalSection final : public SyncObject {
public:
    // The name only documents the code; it is not kept.
    explicit CriticalSection(const char* name);
    ~CriticalSection() override;

    [[nodiscard]] bool Wait(int timeout) override VORN_NO_THREAD_SAFETY_ANALYSIS;
    bool Unlock() override VORN_NO_THREAD_SAFETY_ANALYSIS;

    void Enter() VORN_ACQUIRE();
    void Leave() VORN_RELEASE();

private:
    std::unique_ptr<platform::RecursiveLock> lock_;
};

// Holds a critical section for a scope.
class VORN_SCOPED_CAPABILITY ScopedLock {
public:
    explicit ScopedLock(CriticalSection& section) VORN_ACQUIRE(section) : section_(section) {
        section_.Enter();
    }
    ~ScopedLock() VORN_RELEASE() { section_.Leave(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

private:
    CriticalSection& section_;
};

// Unlocks an object that the caller has waited for, at the end of the scope or before.
class ScopedUnlock {
public:
    ScopedUnlock(SyncObject& object, bool locked) : object_(object), locked_(locked) {}
    ~ScopedUnlock() { Release(); }
    ScopedUnlock(const ScopedUnlock&) = delete;
    ScopedUnlock& operator=(const ScopedUnlock&) = delete;

    // The object stays marked as locked only if unlocking failed.
    void Release();
    [[nodiscard]] bool IsLocked() const { return locked_; }

private:
    SyncObject& object_;
    bool locked_;
};

// Up to three objects that are locked one by one and released together. Borrows the objects.
class WaitSet {
public:
    static constexpr std::size_t kCount = 3;

    explicit WaitSet(const std::array<SyncObject*, kCount>& objects);
    ~WaitSet() { Release(); }
    WaitSet(const WaitSet&) = delete;
    WaitSet& operator=(const WaitSet&) = delete;

    // Waits for object `index` and marks it locked.
    [[nodiscard]] bool Wait(std::size_t index, int timeout);
    // Unlocks each object marked locked; an object that cannot be unlocked stays marked.
    void Release();
    [[nodiscard]] bool IsLocked(std::size_t index) const { return slots_[index].locked; }

private:
    struct Slot {
        SyncObject* object = nullptr;
        platform::Waitable* handle = nullptr;
        bool locked = false;
    };
    std::array<Slot, kCount> slots_;
};

}  // namespace Vorn
