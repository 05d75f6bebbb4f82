// Loads resources ahead of their use, in a separate thread.
//
// The queue holds up to 5,000 resources, first come, first served. The first eight are handed over
// to the worker: they are in state Cached, and an Acquire waits for them. The others stay Ready: a
// thread that acquires one loads it itself, and the queue drops it later. As the worker advances,
// more are handed over.
//
// The worker only reads a resource's file (Resource::LoadFile). The resource is then in state
// Loaded until an Acquire, or the next step of the thread that drives the resource system, finishes
// it. The worker counts as one of the threads that may load at the same time (LoadSlots.h).
//
// A thread that acquires a queued resource from inside a load takes it out and loads it itself.
// Waiting could deadlock: an earlier item of the queue may need the resource of the outer load.
//
// Threads: any; Step belongs to the thread that drives. Order of locks: items, access; the lock of
// the read resources is independent. No resource is destroyed under them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "KernelResource/LoadSlots.h"
#include "KernelResource/Resource.h"
#include "kernel/SyncObject.h"
#include "services/Thread.h"

namespace Vorn {

class LoadQueue {
public:
    static constexpr std::size_t kCapacity = 5000;
    static constexpr std::size_t kMostHandedOver = LoadSlots::kMost;

    // Returns once the worker serves the queue. If it cannot be started, the queue takes nothing.
    explicit LoadQueue(LoadSlots& slots);
    // Waits for the load that the worker is in; it begins no other.
    ~LoadQueue();
    LoadQueue(const LoadQueue&) = delete;
    LoadQueue& operator=(const LoadQueue&) = delete;

    // Appends a resource. False if it is not Ready or is queued already, or if the queue is full.
    bool Add(Resource& resource);
    // Takes out a resource whose load has not begun; one that was handed over is Ready again.
    void TakeOut(Resource& resource);
    // Waits until a resource is neither handed over nor being loaded by the worker. A thread that
    // is inside a load takes it out instead.
    void Await(Resource& resource);
    // Drops a resource from those that were read and wait to be finished.
    void ForgetRead(const Resource& resource);
    // Finishes the resources the worker has read, except those another thread is finishing. Does
    // nothing while all eight load slots are taken.
    void Step();

    [[nodiscard]] std::size_t Count();

private:
    struct Waiter {
        const Resource* resource;
        std::shared_ptr<WEvent> done;
    };

    [[nodiscard]] std::uint32_t Serve();
    void LoadNext();
    void Load(Resource& resource);
    // The next three need the items' lock.
    void HandOver(ResourceHolds& dropped);
    [[nodiscard]] RefPtr<Resource> Remove(std::size_t index);
    [[nodiscard]] std::size_t IndexOf(const Resource& resource) const;  // or Count
    // Wakes the threads that wait for a resource; they check again. Needs the access lock.
    void Awaken(const Resource* resource);

    LoadSlots& slots_;

    // Two locks, because the worker ends a load without the items' lock. Both are mutexes of the
    // system: their names are fixed.
    Mutex itemsLock_;
    Mutex accessLock_;

    // Under itemsLock_. The first handedOver_ items are the worker's.
    ResourceHolds items_;
    std::size_t handedOver_ = 0;

    // Under accessLock_.
    const Resource* current_ = nullptr;  // the worker is loading it
    std::vector<Waiter> waiters_;

    CriticalSection readLock_{"LoadComplete"};
    ResourceHolds read_ VORN_GUARDED_BY(readLock_);
    Semaphore work_;  // one unit for each resource that was handed over
    WEvent serving_{true, false, nullptr};
    Thread worker_;  // ends first
};

}  // namespace Vorn
