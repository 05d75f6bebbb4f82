// Waitable objects, threads and the recursive lock.
//
// A wait takes milliseconds; -1 waits for ever and 0 only asks. Objects with a name are shared by
// all openers of that name in this process; a null or empty name makes an object of its own.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace platform {

inline constexpr int kWaitForever = -1;

// Something a thread can wait for. Thread-safe. A wait that succeeds takes what it waited for:
// an auto-reset event is cleared, a semaphore loses a unit, a mutex is owned.
class Waitable {
public:
    Waitable() = default;
    Waitable(const Waitable&) = delete;
    Waitable& operator=(const Waitable&) = delete;
    virtual ~Waitable() = default;

    // True when the object was signalled in time.
    [[nodiscard]] bool Wait(int milliseconds);

private:
    friend int WaitForAny(std::span<Waitable* const> objects, int milliseconds);
    // Takes the object if it is signalled. Called under the layer's wait lock.
    virtual bool TryTake() = 0;
};

// Waits until one of `objects` is signalled and takes the first such. Its index, or -1.
[[nodiscard]] int WaitForAny(std::span<Waitable* const> objects, int milliseconds);

class Event : public Waitable {
public:
    virtual void Set() = 0;
    virtual void Reset() = 0;
    // Releases the threads that wait now (one of them for auto-reset) and leaves the event clear.
    virtual void Pulse() = 0;
};
class Semaphore : public Waitable {
public:
    // False, and nothing released, when the count would pass its maximum or `units` < 1.
    [[nodiscard]] virtual bool Release(int units) = 0;
};
// When its owner's thread ends, the next waiter gets it, as if it had been released.
class Mutex : public Waitable {
public:
    // False when the calling thread does not own it. Owned n times, released n times.
    [[nodiscard]] virtual bool Release() = 0;
};

[[nodiscard]] std::shared_ptr<Event> MakeEvent(bool manualReset, bool initiallySet,
                                               const char* name);
[[nodiscard]] std::shared_ptr<Semaphore> MakeSemaphore(int initial, int maximum, const char* name);
[[nodiscard]] std::shared_ptr<Mutex> MakeMutex(bool initiallyOwned, const char* name);

// A thread, signalled when its function has returned. The object must outlive the function.
class Thread : public Waitable {
public:
    // Sets the priority: 0 is normal, above runs sooner, below later, in -15 to 15.
    virtual bool SetPriority(int priority) = 0;
    // Lets a thread that was created suspended run; true unless it cannot.
    virtual bool Resume() = 0;
    // False while the function runs.
    [[nodiscard]] virtual bool GetExitCode(std::uint32_t& code) const = 0;
};
// Null when the system cannot start one.
[[nodiscard]] std::unique_ptr<Thread> MakeThread(std::function<std::uint32_t()> function,
                                                 bool suspended);

[[nodiscard]] std::uint32_t CurrentThreadId();

// A lock that its owner may enter again. Not waitable together with others.
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
