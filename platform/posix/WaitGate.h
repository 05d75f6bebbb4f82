// The one lock behind all waitable objects, and the threads that wait.
//
// Every object's state is guarded by the gate's lock; whoever signals an object calls
// changed.notify_all() after. One gate for all keeps waiting for several objects simple: no order
// of locks, no registration of waiters with each object.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <list>
#include <mutex>
#include <span>

#include "platform/Threads.h"

namespace platform::posix {

// A thread inside WaitForAny. A pulse gives it its result; else it tries its objects itself.
struct Waiter {
    std::span<Waitable* const> objects;
    int pulsed = -1;  // index of the object that released it
};

struct WaitGate {
    std::mutex lock;
    std::condition_variable changed;
    std::list<Waiter*> waiters;  // longest waiting first
};

// Never destroyed: threads may still wait while the process ends.
[[nodiscard]] WaitGate& TheWaitGate();

// Gives up the mutexes that the calling thread still owns. Every thread does so when it ends; one
// of ours does it before its end can be seen, so that its waiters find them free.
void AbandonMutexes();

}  // namespace platform::posix
