// Loads resources ahead of their use, in a thread of its own.
//
// The queue holds up to 5,000 resources, first come, first served. The first eight of them are
// handed over to the worker: they are in state Cached, and an Acquire waits for them. The others
// stay Ready: whoever wants one of them just loads it, and the queue drops it. As the worker gets
// on, more are handed over.
//
// The worker reads a resource's file only (Resource::LoadFile). What it has read is in state Loaded
// until an Acquire, or the next step of the thread that drives the resource system, finishes it.
// The worker counts as one of the threads that may load at the same time (LoadSlots.h).
//
// A thread that acquires a queued resource from inside a load does not wait for the queue, in
// which the resource may stand behind one that needs the outer one: it loads it itself.
//
// Threads: any; Step belongs to the thread that drives. Order of locks: items, access; what was
// read has a lock of its own. No resource ends under them.
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

    // Returns when the worker serves the queue, or could not be started: then it takes nothing.
    explicit LoadQueue(LoadSlots& slots);
    // Waits for the load that the worker is in; nothing further is begun.
    ~LoadQueue();
    LoadQueue(const LoadQueue&) = delete;
    LoadQueue& operator=(const LoadQueue&) = delete;

    // False when the resource is not Ready, queued already, or does not fit.
    bool Add(Resource& resource);
    // Takes a resource out whose load has not begun; one that was handed over is Ready again.
    void TakeOut(Resource& resource);
    // Waits until a resource is neither handed over nor in the worker's hands; a thread that is
    // inside a load takes it out instead.
    void Await(Resource& resource);
    // Forgets that a resource was read and waits to be finished.
    void ForgetRead(const Resource& resource);
    // Finishes what the worker has read, but for resources that another thread just finishes, and
    // while eight loads run.
    void Step();

    [[nodiscard]] std::size_t Count();

private:
    struct Waiter {
        const Resource* resource;
        std::shared_ptr<WEvent> done;
    };
    // Resources to let go of outside of the locks.
    using Dropped = std::vector<RefPtr<Resource>>;

    [[nodiscard]] std::uint32_t Serve();
    void LoadNext();
    void Load(Resource& resource);
    // The next three under the items' lock.
    void HandOver(Dropped& dropped);
    [[nodiscard]] RefPtr<Resource> Remove(std::size_t index);
    [[nodiscard]] std::size_t IndexOf(const Resource& resource) const;  // or Count
    // The waiting threads look again; under the access lock.
    void Awaken(const Resource* resource);

    std::vector<RefPtr<Resource>> items_;  // the first handedOver_ of them are the worker's
    std::size_t handedOver_ = 0;
    const Resource* current_ = nullptr;  // in the worker's hands; this and the next: access lock
    std::vector<Waiter> waiters_;
    LoadSlots& slots_;
    Mutex itemsLock_;
    Mutex accessLock_;
    CriticalSection readLock_{"LoadComplete"};
    std::vector<RefPtr<Resource>> read_ VORN_GUARDED_BY(readLock_);
    Semaphore work_;  // one unit for each resource that was handed over
    WEvent serving_{true, false, nullptr};
    Thread worker_;  // ends first
};

}  // namespace Vorn
