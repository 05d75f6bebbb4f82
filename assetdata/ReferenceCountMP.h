// Base of tags, values and files, which their users on any thread share by counting.
//
// An object begins without users and is deleted when the last one releases it. Objects that
// release others while they are deleted do not nest: those wait for their turn, so that a tree of
// any depth ends on a small stack. Held through RefPtr.
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
        // Nobody can take a reference while this one is the last, so it need not be counted down.
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
        ReferenceCountMP* nextToEnd_;  // once there are no users
    };
    // NOLINTEND(readability-identifier-naming)
};

}  // namespace Vorn
