// The progress of a check: counts what all workers have judged, and carries a cancellation to them.
//
// Workers add in large steps, so that the lock costs nothing that shows. Only the thread that
// called Check reports to the caller: between its own steps, then while it waits for the others.
#pragma once

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "archive/Check.h"

namespace archive {

class CheckMeter {
public:
    CheckMeter(const CheckProgress& progress, std::uint64_t total)
        : progress_(progress), total_(total) {}

    [[nodiscard]] bool Stopped() const { return stopped_.load(std::memory_order_relaxed); }
    void Stop() { stopped_.store(true, std::memory_order_relaxed); }

    // Counts bytes that were judged. Any thread.
    void Add(std::uint64_t bytes) {
        {
            const std::scoped_lock hold(lock_);
            done_ += bytes;
        }
        changed_.notify_one();
    }

    // Calls the caller's function. Its thread only.
    void Report() {
        std::uint64_t done = 0;
        {
            const std::scoped_lock hold(lock_);
            reported_ = done = done_;
        }
        if (!progress_ || Stopped()) return;
        // Members that overlap are counted with what they claim.
        if (!progress_(std::min(done, total_), total_)) Stop();
    }
    void ReportAll() {
        if (progress_ && !Stopped()) (void)progress_(total_, total_);
    }

    void Start(unsigned workers) { working_ = workers; }
    void Finish() {
        {
            const std::scoped_lock hold(lock_);
            --working_;
        }
        changed_.notify_one();
    }
    // Reports what the other workers add until all have finished. The caller's thread only.
    void ReportUntilFinished() {
        for (bool finished = false; !finished;) {
            {
                std::unique_lock hold(lock_);
                changed_.wait(hold, [this] { return working_ == 0 || done_ != reported_; });
                finished = working_ == 0;
            }
            Report();
        }
    }

private:
    const CheckProgress& progress_;
    const std::uint64_t total_;
    std::atomic<bool> stopped_ = false;
    std::mutex lock_;
    std::condition_variable changed_;
    std::uint64_t done_ = 0;
    std::uint64_t reported_ = 0;
    unsigned working_ = 0;
};

}  // namespace archive
