// Waitable objects, threads and the recursive lock.
//
// A wait takes milliseconds; -1 waits indefinitely and 0 only tests. Objects with a name are shared
// by all openers of that name in this process; a null or empty name makes a separate object.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace platform {

inline constexpr int kWaitForever = -1;

// Something a thread can wait for. Thread-safe. A successful wait takes the object:
// an auto-reset event is cleared, a semaphore loses a unit, a mutex is owned.
class Waitable {
public:
    Waitable() = default;
    Waitable(const Waitable&) = delete;
    Waitable& operator=(const Waitable&) = delete;
    virtual ~Waitable() = default;

    // Returns whether the object was signalled in time.
    [[nodiscard]] bool Wait(int milliseconds);

private:
    friend int WaitForAny(std::span<Waitable* const> objects, int milliseconds);
    // Takes the object if it is signalled. Called under the layer's wait lock.
    virtual bool TryTake() = 0;
};

// Waits until one of `objects` is signalled and takes the first that is. Returns its index, or -1
// on a time-out.
[[nodiscard]] int WaitForAny(std::span<Waitable* const> objects, int milliseconds);

class Event : public Waitable {
public:
    virtual void Set() = 0;
    virtual void Reset() = 0;
    // Releases the threads that are waiting (for auto-reset, one) and leaves the event clear.
    virtual void Pulse() = 0;
};
class Semaphore : public Waitable {
public:
    // Returns false and releases nothing if the count would exceed its maximum or `units` < 1.
    [[nodiscard]] virtual bool Release(int units) = 0;
};
// A thread that ends releases the mutexes it owns.
class Mutex : public Waitable {
public:
    // Returns false if the calling thread does not own it. A mutex taken n times must be released n
    // times.
    [[nodiscard]] virtual bool Release() = 0;
};

[[nodiscard]] std::shared_ptr<Event> MakeEvent(bool manualReset, bool initiallySet,
                                               const char* name);
[[nodiscard]] std::shared_ptr<Semaphore> MakeSemaphore(int initial, int maximum, const char* name);
[[nodiscard]] std::shared_ptr<Mutex> MakeMutex(bool initiallyOwned, const char* name);

// A thread, signalled when its function has returned. The object must outlive the function.
class Thread : public Waitable {
public:
    // Sets the priority from -15 to 15; 0 is normal, higher runs sooner.
    virtual bool SetPriority(int priority) = 0;
    // Lets a thread that was created suspended run. False if it cannot.
    virtual bool Resume() = 0;
    // Sets `code` to the function's result; false while it runs.
    [[nodiscard]] virtual bool GetExitCode(std::uint32_t& code) const = 0;
};
// Returns null if the system cannot start a thread.
[[nodiscard]] std::unique_ptr<Thread> MakeThread(std::function<std::uint32_t()> function,
                                                 bool suspended);

[[nodiscard]] std::uint32_t CurrentThreadId();

// A lock that its owner may enter again. WaitForAny cannot wait for it.
class RecursiveLock {
public:
    RecursiveLock();
    ~RecursiveLock();
    RecursiveLock(const RecursiveLock&) = delete;
    RecursiveLock& operator=(const RecursiveLock&) = delete;
    void Enter();
    void Leave();

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace platform
