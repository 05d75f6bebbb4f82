// The inside of the resource system: what resources, databases and bins call of it. Hosts use
// ResourceSystem.h, which owns the one core of the process.
//
// Threads: any, except in the section of the resource system. Order of locks, outermost first: the
// register of archive databases, the detaching lock, a database's lock, the bin's lock, all others.
// Resources are destroyed, and holds on them dropped, outside of all locks: a destructor may lead
// back here.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <unordered_set>
#include <vector>

#include "KernelResource/LoadSlots.h"
#include "KernelResource/ResourceAccounts.h"
#include "KernelResource/ResourceBin.h"
#include "KernelResource/ResourceTypes.h"
#include "kernel/SyncObject.h"

namespace Vorn {

class ArchiveDatabases;
class LoadQueue;
class ResourceDatabase;

class ResourceCore {
public:
    ResourceCore();
    // Ends the archive databases, then the load queue, then the bin with what it holds.
    ~ResourceCore();
    ResourceCore(const ResourceCore&) = delete;
    ResourceCore& operator=(const ResourceCore&) = delete;

    // Returns the core of the process. Throws Exception if there is no resource system.
    [[nodiscard]] static ResourceCore& Instance();
    [[nodiscard]] static ResourceCore* Find();  // null if there is no resource system

    [[nodiscard]] ResourceAccounts& Accounts() { return accounts_; }
    [[nodiscard]] ResourceTypes& Types() { return types_; }
    [[nodiscard]] ResourceBin& Bin() { return *bin_; }
    [[nodiscard]] ArchiveDatabases& Archives() { return *archives_; }
    [[nodiscard]] float CurrentTime() const { return static_cast<float>(clock_.load()); }
    // Returns the lock of the resource's home, or the one that all resources without a home share.
    [[nodiscard]] CriticalSection& LockOf(const Resource& resource);

    // For the resource system, which has one thread start and drive it.

    // Makes this the core of the process.
    void MakeCurrent();
    // Ends the bin in use and takes the new one. Must come before resources are made.
    void SetBin(std::unique_ptr<ResourceBin> bin);
    void StartQueue();
    // Advances the clock, finishes what the queue's worker has read, and lets the bin unload.
    void Step(float elapsedSeconds);
    [[nodiscard]] bool HasQueue() const { return queue_ != nullptr; }
    bool QueueLoad(Resource& resource);
    [[nodiscard]] std::size_t DatabaseCount() const;

    // For resources.

    void Register(Resource& resource);
    void Unregister(Resource& resource);
    // Record and forget that `redirect` refers to `target`.
    void Link(const Resource& target, const RedirResource& redirect);
    void Unlink(const Resource& target, const RedirResource& redirect);
    [[nodiscard]] LoadSlots& Slots() { return slots_; }
    // Waits while the queue or its worker has the resource.
    void AwaitQueuedLoad(Resource& resource);
    // Drops the resource from those that the worker has read: the caller finishes it.
    void ForgetRead(Resource& resource);
    // Hands the resource to the bin if it is idle and has neither references nor acquires.
    void OfferToBin(Resource& resource);

    // For resources and databases: brings an inactive resource back from the bin. The caller holds
    // the lock of its home.
    void Revalidate(Resource& resource);

    // For resources and bins: frees the content of a resource in state Delete and takes it, and the
    // redirects to it, out of their databases. The caller has a hold on it and holds no lock.
    void Destroy(Resource& resource);

    // For databases.

    void Register(ResourceDatabase& database);
    // Makes its resources homeless. The caller holds the detaching lock.
    void Unregister(ResourceDatabase& database);
    // Takes the resource out of the queue if its load has not begun.
    void TakeOutOfQueue(Resource& resource);
    // Ends all loading work on the resource: on return none is queued and none runs.
    void WithdrawLoad(Resource& resource);
    // Returns the lock that is held while resources leave the tables of their databases, and while
    // a database ends, so that no redirect is looked for in a database that is gone.
    [[nodiscard]] CriticalSection& DetachingLock() { return detachingLock_; }
    // Takes the redirects to `target` out of their databases. Their holds go to `detached`. The
    // caller holds the detaching lock.
    void DetachRedirects(const Resource& target, ResourceHolds& detached);

private:
    ResourceAccounts accounts_;
    ResourceTypes types_;
    LoadSlots slots_;
    std::atomic<double> clock_ = 0;  // seconds
    CriticalSection homelessLock_{"HomelessResources"};
    CriticalSection detachingLock_{"DetachingResources"};
    mutable CriticalSection listsLock_{"ResourceLists"};
    std::unordered_set<Resource*> resources_ VORN_GUARDED_BY(listsLock_);
    // By their target, in the order in which they were made.
    std::multimap<const Resource*, const RedirResource*> redirects_ VORN_GUARDED_BY(listsLock_);
    std::vector<ResourceDatabase*> databases_ VORN_GUARDED_BY(listsLock_);
    std::unique_ptr<ResourceBin> bin_;
    std::unique_ptr<LoadQueue> queue_;  // null without caching
    std::unique_ptr<ArchiveDatabases> archives_;
};

}  // namespace Vorn
