// The resource machinery as a host sees it: loads resources, ages them, and keeps to a memory
// budget.
//
// A host makes one, initialises it with its options, registers the types of its resources, and
// opens databases. It drives the system through the task "ResourceSystem" (services/Task.h), or
// calls Process in every frame. A host that does neither still loads what it acquires, but what the
// load queue has read does not become available by itself, and nothing ages.
//
// One step (Process) does this:
// - It finishes the resources that the queue's worker has read; they become available.
// - The bin unloads what is due.
// - Once a second, if loaded resources take more memory than the budget, it asks the bin to unload
//   sooner.
//
// Options: ResourceCaching (a load queue with its worker thread, default on), ResourceMemory (the
// budget in megabytes, default 30, at least 10), ResourceInstantBin (unloads at once), and those of
// ResourceBinCache.h. Without an option list the budget is 0, which means unlimited.
//
// Threads: any may load, look up and release. Init and SetBin come before there are others, and
// one thread drives.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "KernelResource/ResourceAccounts.h"
#include "KernelResource/ResourceBin.h"
#include "KernelResource/ResourceTypes.h"

namespace Vorn {

class ArchiveDatabases;
class OptionList;
class ResourceCore;
class ResourceSystemTask;

class ResourceSystem {
public:
    ResourceSystem();
    // Stops the worker after the load it is in. The host's databases and resources must end before;
    // archive databases end here.
    ~ResourceSystem();
    ResourceSystem(const ResourceSystem&) = delete;
    ResourceSystem& operator=(const ResourceSystem&) = delete;

    // Makes this the system of the process. Called once. `options` may be null; SetBin reads it
    // again, so it must outlive the system.
    void Init(const OptionList* options);
    // Replaces the bin; null selects one that unloads at once.
    void SetBin(std::unique_ptr<ResourceBin> bin);
    // Does one step of the frame.
    void Process(float elapsedSeconds);

    // Queues a resource in state Ready for the worker. False without caching, for any other state,
    // for one that is queued already, and if the queue is full.
    bool QueueLoad(Resource& resource);
    // Takes a resource out of the queue if its load has not begun.
    void TakeOutOfQueue(Resource& resource);

    [[nodiscard]] float CurrentTime() const;  // seconds, the sum of what Process was given
    [[nodiscard]] bool IsCaching() const;
    [[nodiscard]] std::int64_t MemoryBudget() const { return memoryBudget_; }  // bytes
    [[nodiscard]] std::size_t DatabaseCount() const;
    [[nodiscard]] ResourceAccounts& Accounts();
    [[nodiscard]] ResourceTypes& Types();
    [[nodiscard]] ResourceBin& Bin();
    [[nodiscard]] ArchiveDatabases& Archives();

private:
    const std::unique_ptr<ResourceCore> core_;
    const OptionList* options_ = nullptr;
    std::int64_t memoryBudget_ = 0;
    float sinceMaintenance_ = 0;  // seconds
    std::unique_ptr<ResourceSystemTask> task_;
};

// Makes and initialises the system of the process. It ends at exit, after main.
ResourceSystem& StartResourceSystem(const OptionList& options);

}  // namespace Vorn
