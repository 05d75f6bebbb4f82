// Decides when resources that nobody references any more are unloaded.
//
// One bin at a time, owned by the resource system, which alone calls it.
#pragma once

#include "KernelResource/Resource.h"

namespace Vorn {

class OptionList;

class ResourceBin {
public:
    explicit ResourceBin(ResourceSystem& system) : system_(system) {}
    ResourceBin(const ResourceBin&) = delete;
    ResourceBin& operator=(const ResourceBin&) = delete;

    // The virtual operations, in slot order.

    // What the bin holds is destroyed with it, unless it is in use: that is available again.
    virtual ~ResourceBin() = default;
    // Before first use; `options` may be null.
    virtual void Configure(const OptionList* options) = 0;
    // Takes a resource out that the bin holds, so that it can be used again. False when the bin
    // does not hold it. Called under the lock of the resource's home.
    [[nodiscard]] virtual bool Reclaim(Resource& resource) = 0;
    // Takes a resource out of the memory accounting.
    virtual void Remove(Resource& resource);
    // Receives a resource without references that is available or was not loaded yet; it may hold
    // it already. True when the bin does not keep it: it is in state Delete and the caller destroys
    // it. Called under the lock of the resource's home.
    [[nodiscard]] virtual bool Add(Resource& resource) = 0;
    // Time has passed: unloads what is due. Called without locks.
    virtual void Process(float elapsedSeconds) = 0;
    // There is more in memory than the budget allows: the next pass unloads sooner.
    virtual void RelieveMemory() {}

protected:
    [[nodiscard]] ResourceSystem& System() const { return system_; }
    static void SetState(Resource& resource, ResourceState state) { resource.ChangeState(state); }
    // Puts a resource into state Delete, from which no load brings it back. False, and nothing
    // done, for one that is in use, queued or being loaded.
    [[nodiscard]] static bool Retire(Resource& resource);

private:
    ResourceSystem& system_;
};

// The bin that holds nothing: a resource whose last user releases it is unloaded at once.
class ResourceBinInstant final : public ResourceBin {
public:
    using ResourceBin::ResourceBin;

    void Configure(const OptionList* /*options*/) override {}
    [[nodiscard]] bool Reclaim(Resource& /*resource*/) override { return false; }
    // A resource in use is left as it is; it comes back when its last user has released it.
    [[nodiscard]] bool Add(Resource& resource) override;
    void Process(float /*elapsedSeconds*/) override {}
};

}  // namespace Vorn
