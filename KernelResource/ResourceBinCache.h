// The bin that keeps resources for a while, in case they are wanted again.
//
// Each resource that enters expires after about ten seconds. A pass, twice a second, unloads those
// that have expired, the earliest first. It considers five, or a tenth of all if that is more; then
// it also looks a little ahead of the clock.
//
// Options: ResourceBinProcessTime (seconds between passes, 0.5), ResourceBinOldest (seconds until
// the expiry, 10), ResourceBinMaxDeleted (resources that a pass considers, 5; below 1 counts as 1).
// The first two are decimal numbers; any other value reads as 0.
//
// Decided here: memory above the budget lets the next pass unload what would expire within five
// seconds. A resource in use is skipped, but counts as considered.
//
// Costs: logarithmic in the resources held to enter and to leave; a pass costs what it considers.
//
// Threads: any. The lock is taken inside a database's lock, and no lock is taken inside it.
#pragma once

#include <cstdint>
#include <map>
#include <unordered_map>
#include <vector>

#include "KernelResource/ResourceBin.h"
#include "kernel/SyncObject.h"

namespace Vorn {

class ResourceBinCache final : public ResourceBin {
public:
    ResourceBinCache();
    ~ResourceBinCache() override;

    void Configure(const OptionList* options) override;
    [[nodiscard]] bool Reclaim(Resource& resource) override;
    [[nodiscard]] bool Add(Resource& resource) override;
    void Process(float elapsedSeconds) override;
    void RelieveMemory() override;

    [[nodiscard]] std::size_t HeldCount() const;
    [[nodiscard]] double Clock() const;  // seconds, the sum of what Process was given

private:
    using Held = std::multimap<double, RefPtr<Resource>>;  // by expiry

    // Takes out what a pass unloads. What cannot be retired, because it is being loaded after all,
    // leaves the bin through `spared`.
    [[nodiscard]] ResourceHolds TakeDue(ResourceHolds& spared) VORN_REQUIRES(lock_);
    // Returns a number in [0, 1).
    [[nodiscard]] double NextRandom() VORN_REQUIRES(lock_);

    mutable CriticalSection lock_{"ResourceBinCache"};
    Held held_ VORN_GUARDED_BY(lock_);
    std::unordered_map<const Resource*, Held::iterator> places_ VORN_GUARDED_BY(lock_);
    double clock_ VORN_GUARDED_BY(lock_) = 0;
    double lastPass_ VORN_GUARDED_BY(lock_) = 0;
    double passInterval_ = 0;
    double age_ = 0;
    int mostPerPass_ = 0;
    bool relieve_ VORN_GUARDED_BY(lock_) = false;
    std::uint32_t randomState_ VORN_GUARDED_BY(lock_);
};

}  // namespace Vorn
