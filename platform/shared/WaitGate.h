// The one lock of all waitable objects, and the waiting threads.
//
// The gate's lock guards every object's state; code that signals an object calls
// changed.notify_all() afterwards. One gate for all keeps waiting for several objects simple: there
// is no lock order, and waiters need not register with each object.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <list>
#include <mutex>
#include <span>

#include "platform/Threads.h"

namespace platform::shared {

// A thread inside WaitForAny. A pulse sets its result; otherwise it tries its objects itself.
struct Waiter {
    std::span<Waitable* const> objects;
    int pulsed = -1;  // index of the object that released it
};

struct WaitGate {
    std::mutex lock;
    std::condition_variable changed;
    std::list<Waiter*> waiters;  // longest waiting first
};

// Never destroyed: threads may still be waiting while the process ends.
[[nodiscard]] WaitGate& TheWaitGate();

// Releases the mutexes that the calling thread still owns. Every thread does so when it ends;
// threads of this layer do it before their end is visible, so that those who wait for it find them
// free.
void AbandonMutexes();

}  // namespace platform::shared
