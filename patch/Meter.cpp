#include "patch/Meter.h"

#include <algorithm>

namespace patch {

void Meter::Add(std::uint64_t bytes) {
    done_.fetch_add(bytes, std::memory_order_relaxed);
    // The caller's function need not serve several threads.
    if (std::this_thread::get_id() == home_) Report();
    if (cancelled_.load(std::memory_order_relaxed)) throw Cancelled();
}

void Meter::Report(bool force) {
    constexpr std::uint64_t kReportStep = 1 << 20;
    const std::uint64_t done = done_.load(std::memory_order_relaxed);
    if (!function_ || (!force && done - reported_ < kReportStep)) return;
    reported_ = done;
    bool goesOn = false;
    try {
        goesOn = function_(step_, std::min(done, total_), total_);
    } catch (...) {
        cancelled_ = true;
        throw;
    }
    if (goesOn) return;
    // The other threads find out in Add.
    cancelled_ = true;
    throw Cancelled();
}

}  // namespace patch
