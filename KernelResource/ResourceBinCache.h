// The bin that keeps resources for a while, in case somebody wants them again.
//
// Each resource that enters gets an expiry of about ten seconds. A pass, twice a second, unloads
// those that are due, the earliest first: a few at a time, more of them and a little early when
// there are many.
//
// Options: ResourceBinProcessTime (seconds between passes, 0.5), ResourceBinOldest (seconds until
// the expiry, 10), ResourceBinMaxDeleted (at most so many a pass, 5; below 1 counts as 1). The
// first two are decimal numbers; a value that is none reads as 0.
//
// Decided here: memory above the budget lets the next pass unload what would expire within five
// seconds. A resource that is in use counts for a pass's few and is passed over.
//
// Costs: logarithmic in what is held for entering and leaving; a pass costs what it considers.
//
// Threads: any. The lock is taken inside a database's lock, and nothing is taken inside it.
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
    explicit ResourceBinCache(ResourceSystem& system);
    ~ResourceBinCache() override;

    void Configure(const OptionList* options) override;
    [[nodiscard]] bool Reclaim(Resource& resource) override;
    [[nodiscard]] bool Add(Resource& resource) override;
    void Process(float elapsedSeconds) override;
    void RelieveMemory() override;

    [[nodiscard]] std::size_t HeldCount() const;
    [[nodiscard]] double Clock() const;  // seconds, the sum of what Process was told

private:
    using Held = std::multimap<double, RefPtr<Resource>>;  // by expiry

    // What is to be unloaded now, and what leaves the bin because it is being loaded after all.
    [[nodiscard]] std::vector<RefPtr<Resource>> TakeDue(std::vector<RefPtr<Resource>>& spared)
        VORN_REQUIRES(lock_);
    // A number in [0, 1).
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
