// Counts the resources by what they are doing, and the memory they take.
//
// Threads: any.
#pragma once

#include <atomic>
#include <cstdint>

#include "kernel/SyncObject.h"

namespace Vorn {

class ResourceAccounts {
public:
    // What one resource adds to the sums. Guarded by the accounts' lock.
    class Share {
        friend class ResourceAccounts;
        bool isCounted_ = false;
        std::int64_t bytes_ = 0;
    };

    std::atomic<std::uint32_t> resources = 0;  // in existence
    std::atomic<std::uint32_t> requests = 0;   // load attempts so far
    std::atomic<std::uint32_t> loaded = 0;     // states Loaded, Available and Inactive
    std::atomic<std::uint32_t> available = 0;  // state Available
    std::atomic<std::uint32_t> inUse = 0;      // acquired since they became available

    // Adds a resource that takes `bytes`, or brings one that was added before up to date.
    void Add(Share& share, std::int64_t bytes);
    // Does nothing if it was not added.
    void Remove(Share& share);

    [[nodiscard]] std::uint32_t Count() const { return count_; }
    [[nodiscard]] std::int64_t Memory() const { return memory_; }  // bytes

private:
    CriticalSection lock_{"ResourceAccounts"};
    std::atomic<std::uint32_t> count_ = 0;
    std::atomic<std::int64_t> memory_ = 0;
};

}  // namespace Vorn
