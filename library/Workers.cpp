#include "library/Workers.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <vector>

#include "vaconverter/error.h"

namespace va {
namespace {

constexpr std::uint64_t kReportStep = 1 << 20;  // bytes between two calls of the function

// The pieces that are left, and the exception of the first piece that failed.
class Queue {
public:
    Queue(std::size_t pieces, unsigned threads) : pieces_(pieces), running_(threads) {}

    [[nodiscard]] bool Take(std::size_t& piece) {
        const std::lock_guard hold(lock_);
        if (next_ >= pieces_ || failure_) return false;
        piece = next_++;
        return true;
    }

    void Fail(std::size_t piece) {
        const std::lock_guard hold(lock_);
        if (failure_ && failedPiece_ < piece) return;
        failure_ = std::current_exception();
        failedPiece_ = piece;
    }

    void Leave() {
        const std::lock_guard hold(lock_);
        --running_;
        ended_.notify_one();
    }

    // Calls `report` now and then until every thread has left.
    void Await(const std::function<void()>& report) {
        using namespace std::chrono_literals;
        std::unique_lock hold(lock_);
        while (!ended_.wait_for(hold, 50ms, [&] { return running_ == 0; })) {
            hold.unlock();
            report();
            hold.lock();
        }
    }

    void Rethrow() const {
        if (failure_) std::rethrow_exception(failure_);
    }

private:
    std::mutex lock_;
    std::condition_variable ended_;
    const std::size_t pieces_;
    std::size_t next_ = 0;
    unsigned running_;
    std::size_t failedPiece_ = 0;
    std::exception_ptr failure_;
};

}  // namespace

void RunPieces(std::size_t pieces, unsigned threads, WorkProgress& progress,
               const std::function<void(unsigned worker, std::size_t piece)>& work) {
    threads = static_cast<unsigned>(std::clamp<std::size_t>(pieces, 1, std::max(threads, 1U)));
    if (threads == 1) {
        for (std::size_t piece = 0; piece < pieces; ++piece) work(0, piece);
        progress.Report(true);
        return;
    }
    Queue queue(pieces, threads);
    const auto serve = [&](unsigned worker) {
        std::size_t piece = 0;
        while (queue.Take(piece)) {
            try {
                work(worker, piece);
            } catch (...) {
                queue.Fail(piece);
            }
        }
        queue.Leave();
    };
    std::exception_ptr fromReport;
    {
        std::vector<std::jthread> workers;
        for (unsigned worker = 0; worker < threads; ++worker) workers.emplace_back(serve, worker);
        queue.Await([&] {
            if (fromReport) return;
            try {
                progress.Report();
            } catch (...) {
                // The workers are stopped by the next Add of each.
                fromReport = std::current_exception();
            }
        });
    }
    if (fromReport) std::rethrow_exception(fromReport);
    queue.Rethrow();
    progress.Report(true);
}

WorkProgress::WorkProgress(const ProgressFunction& function, std::string_view step,
                           std::uint64_t total)
    : function_(function), step_(step), total_(total) {}

void WorkProgress::Add(std::uint64_t bytes) {
    done_.fetch_add(bytes, std::memory_order_relaxed);
    if (std::this_thread::get_id() == home_) Report();
    if (cancelled_.load(std::memory_order_relaxed)) throw Error(ErrorCode::Refused, "cancelled");
}

void WorkProgress::Report(bool force) {
    const std::uint64_t done = done_.load(std::memory_order_relaxed);
    if (!function_ || (!force && done - reported_ < kReportStep)) return;
    reported_ = done;
    try {
        if (function_({step_, done, std::max(done, total_)})) return;
    } catch (...) {
        cancelled_ = true;
        throw;
    }
    cancelled_ = true;
    throw Error(ErrorCode::Refused, "cancelled");
}

}  // namespace va
