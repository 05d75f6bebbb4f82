// Decides when resources without references are unloaded.
//
// The resource system owns one bin at a time, and it alone calls it.
#pragma once

#include "KernelResource/Resource.h"

namespace Vorn {

class CriticalSection;
class OptionList;

class ResourceBin {
public:
    ResourceBin() = default;
    ResourceBin(const ResourceBin&) = delete;
    ResourceBin& operator=(const ResourceBin&) = delete;

    // The virtual operations, in slot order, which is fixed.

    // Destroys what the bin holds, except for what is in use: that becomes available again.
    virtual ~ResourceBin() = default;
    // Takes its settings. Called once, before anything else. `options` may be null.
    virtual void Configure(const OptionList* options) = 0;
    // Takes a resource that the bin holds out of it, to be used again. False if the bin does not
    // hold it. The caller holds the lock of the resource's home.
    [[nodiscard]] virtual bool Reclaim(Resource& resource) = 0;
    // Takes a resource out of the memory accounting.
    virtual void Remove(Resource& resource);
    // Receives a resource without references that is available, or was never loaded. The bin may
    // hold it already. True if the bin does not keep it: then it is in state Delete and the caller
    // destroys it. The caller holds the lock of the resource's home.
    [[nodiscard]] virtual bool Add(Resource& resource) = 0;
    // Lets time pass and unloads what is due. Called without locks.
    virtual void Process(float elapsedSeconds) = 0;
    // Asks for the next pass to unload sooner: memory is above the budget.
    virtual void RelieveMemory() {}

protected:
    // The moves of a bin (ResourceState.h).

    // Makes an available resource inactive; one that was never loaded keeps its state, in which a
    // load or a lookup finds it.
    static void Shelve(Resource& resource);
    // Makes an inactive resource available again; leaves one in any other state as it is.
    static void Unshelve(Resource& resource);
    // Moves a resource to state Delete. False, and nothing is done, if it is in use, queued or
    // being loaded.
    [[nodiscard]] static bool Retire(Resource& resource);

    [[nodiscard]] static CriticalSection& LockOf(const Resource& resource);  // of its home
    // Frees a retired resource. Needs a hold on it, and no lock.
    static void Destroy(Resource& resource);
};

// The bin that holds nothing: it unloads a resource as soon as its last user has released it.
class ResourceBinInstant final : public ResourceBin {
public:
    void Configure(const OptionList* /*options*/) override {}
    [[nodiscard]] bool Reclaim(Resource& /*resource*/) override { return false; }
    // Leaves a resource in use as it is; it comes back when its last user has released it.
    [[nodiscard]] bool Add(Resource& resource) override;
    void Process(float /*elapsedSeconds*/) override {}
};

}  // namespace Vorn
