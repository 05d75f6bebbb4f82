// The owner of the machinery of resources: what is known, what loads, and what is unloaded when.
//
// A host makes one, initialises it with its options, registers the types of its resources, and
// opens databases. It drives the system by its task "ResourceSystem" (services/Task.h), or
// by calling Process in every frame. A host that does neither still loads what it acquires, but
// nothing that the load queue has read becomes available by itself, and nothing ages.
//
// One step (Process) does this:
// - Resources that the queue's worker has read are finished and become available, on this thread.
// - The bin unloads what is due.
// - Once a second the memory that loaded resources take is held against the budget; above it, the
//   bin's next pass unloads sooner.
//
// Options: ResourceCaching (a load queue with its worker thread, default on), ResourceMemory (the
// budget in megabytes, default 30, at least 10), ResourceInstantBin (unloads at once), and those of
// ResourceBinCache.h. Without an option list the budget is 0, which means none.
//
// Threads: any may load, look up and release. Init and SetBin come before there are others, and
// one thread drives. Order of locks, outermost first: the archive databases' register, the
// detaching lock, a database's lock, the bin's lock, all others.
#pragma once

#include <atomic>
#include <cstdint>
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
class OptionList;
class ResourceDatabase;
class ResourceSystemTask;

class ResourceSystem {
public:
    ResourceSystem();
    // Stops the worker, which finishes the load that it is in. Databases and resources of the host
    // end before it; archive databases end with it.
    ~ResourceSystem();
    ResourceSystem(const ResourceSystem&) = delete;
    ResourceSystem& operator=(const ResourceSystem&) = delete;

    // Once; makes this the system of the process. `options` may be null, and is borrowed for
    // SetBin.
    void Init(const OptionList* options);

    // The system of the process. Throws Exception when there is none.
    [[nodiscard]] static ResourceSystem& Instance();
    [[nodiscard]] static ResourceSystem* Find();  // null when there is none

    // Replaces the bin; a null one by one that unloads at once.
    void SetBin(std::unique_ptr<ResourceBin> bin);

    // One step of the frame.
    void Process(float elapsedSeconds);

    // Seconds, the sum of what Process was told.
    [[nodiscard]] float CurrentTime() const { return static_cast<float>(clock_.load()); }
    [[nodiscard]] bool IsCaching() const { return queue_ != nullptr; }
    [[nodiscard]] std::int64_t MemoryBudget() const { return memoryBudget_; }  // bytes
    [[nodiscard]] ResourceBin& Bin() { return *bin_; }
    [[nodiscard]] ResourceAccounts& Accounts() { return accounts_; }
    [[nodiscard]] LoadSlots& Slots() { return slots_; }
    [[nodiscard]] ResourceTypes& Types() { return types_; }
    [[nodiscard]] ArchiveDatabases& Archives() { return *archives_; }
    [[nodiscard]] std::size_t DatabaseCount() const;

    // Has a resource in state Ready loaded by the worker. False without caching, for any other
    // state, for one that is queued already, and when the queue is full.
    bool QueueLoad(Resource& resource);
    // Takes it out of the queue if its load has not begun.
    void TakeOutOfQueue(Resource& resource);
    // Ends all loading work on a resource: on return none is queued or runs.
    void WithdrawLoad(Resource& resource);

    // The lock of the resource's home, or the one of those without a home.
    [[nodiscard]] CriticalSection& LockOf(const Resource& resource);

    // For resources.
    void Register(Resource& resource);
    void Unregister(Resource& resource);
    void Link(Resource& target, RedirResource& redirect);
    void Unlink(Resource& target, RedirResource& redirect);
    void AwaitQueuedLoad(Resource& resource);
    // Takes a resource back that was read and is now being finished by the caller.
    void ForgetRead(Resource& resource);
    // Under the lock of its home: brings an inactive resource back from the bin.
    void Revalidate(Resource& resource);
    // Hands it to the bin if it is available and nobody references or uses it.
    void OfferToBin(Resource& resource);

    // Frees the content of a resource in state Delete and takes it out of its database, with the
    // redirects that stand for it. The caller is a holder, and holds no lock.
    void Destroy(Resource& resource);

    // For databases.
    void Register(ResourceDatabase& database);
    // Under the detaching lock: no resource has it as its home any more.
    void Unregister(ResourceDatabase& database);
    // Held while resources leave the tables of their databases, and while a database ends.
    [[nodiscard]] CriticalSection& DetachingLock() { return detachingLock_; }
    // Takes the redirects that stand for a resource out of their databases, under that lock. They
    // go to `detached`, to be let go of outside of all locks.
    void DetachRedirects(const Resource& target, std::vector<RefPtr<Resource>>& detached);

private:
    void Maintain();

    ResourceAccounts accounts_;
    CriticalSection homelessLock_{"HomelessResources"};
    CriticalSection detachingLock_{"DetachingResources"};
    mutable CriticalSection listsLock_{"ResourceLists"};
    std::unordered_set<Resource*> resources_ VORN_GUARDED_BY(listsLock_);
    std::vector<ResourceDatabase*> databases_ VORN_GUARDED_BY(listsLock_);
    ResourceTypes types_;
    LoadSlots slots_;
    const OptionList* options_ = nullptr;
    std::int64_t memoryBudget_ = 0;
    std::atomic<double> clock_ = 0;
    float sinceMaintenance_ = 0;        // seconds
    std::unique_ptr<ResourceBin> bin_;  // this and the next by Init
    std::unique_ptr<LoadQueue> queue_;  // with caching only
    std::unique_ptr<ArchiveDatabases> archives_;
    std::unique_ptr<ResourceSystemTask> task_;
};

// Makes and initialises the process's system. It ends at the process's exit, after main.
ResourceSystem& StartResourceSystem(const OptionList& options);

}  // namespace Vorn
