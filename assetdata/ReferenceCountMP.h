// Base of reference-counted tags, values and files, which any threads may share. Held by RefPtr.
//
// An object starts with a count of 0 and is deleted when the last reference is released. Deletions
// that a destructor causes are queued instead of nested, so that a tree of any depth is deleted on
// a small stack.
#pragma once

#include <atomic>
#include <cstdint>

#include "kernel/ReferenceCount.h"

namespace Vorn {

class ReferenceCountMP {
public:
    virtual ~ReferenceCountMP() = default;
    ReferenceCountMP(const ReferenceCountMP&) = delete;
    ReferenceCountMP& operator=(const ReferenceCountMP&) = delete;

    void AddRef() noexcept { references_.fetch_add(1, std::memory_order_relaxed); }
    void Release() noexcept {
        // No other thread can take a reference while this is the last, so the count need not drop.
        if (references_.load(std::memory_order_acquire) == 1 ||
            references_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            End();
        }
    }

protected:
    ReferenceCountMP() noexcept : references_(0) {}

private:
    void End() noexcept;

    // NOLINTBEGIN(readability-identifier-naming): as private as the union
    union {
        std::atomic<std::uint32_t> references_;
        ReferenceCountMP* nextToEnd_;  // once there are no references
    };
    // NOLINTEND(readability-identifier-naming)
};

}  // namespace Vorn
