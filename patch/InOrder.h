// Units of work on several threads, whose results one thread takes in order.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "patch/Meter.h"

namespace patch {

// Workers make the results of units 0, 1, 2 ..., and the calling thread takes them in this order:
// what it does with them does not depend on the number of threads. Neither does the exception that
// reaches it, which is that of the first unit that failed.
template <typename Result>
class InOrder {
public:
    // Worker numbers are below `threads`. With one thread everything runs on the calling one.
    using Make = std::function<Result(unsigned worker, std::size_t unit)>;
    using Take = std::function<void(std::size_t unit, Result result)>;
    using Cost = std::function<std::uint64_t(std::size_t unit)>;

    // Workers start no unit while results that wait to be taken cost more than `budget`, except
    // the unit to be taken next.
    InOrder(std::size_t units, unsigned threads, Cost cost, std::uint64_t budget)
        : units_(units),
          threads_(static_cast<unsigned>(std::min<std::size_t>(threads, units))),
          cost_(std::move(cost)),
          budget_(budget) {}

    // Throws what `make` and `take` throw, after all workers have ended; Cancelled.
    void Run(Meter& meter, const Make& make, const Take& take) {
        if (threads_ <= 1) {
            for (std::size_t unit = 0; unit < units_; ++unit) take(unit, make(0, unit));
            return;
        }
        std::vector<std::jthread> workers;
        // Declared after the threads, so that they are asked to end before they are joined.
        const Ending ending{*this};
        for (unsigned worker = 0; worker < threads_; ++worker) {
            workers.emplace_back([this, worker, &make] { Serve(worker, make); });
        }
        for (std::size_t unit = 0; unit < units_; ++unit) {
            Outcome outcome = Await(unit, meter);
            if (outcome.failure) std::rethrow_exception(outcome.failure);
            take(unit, std::move(*outcome.result));
        }
    }

private:
    struct Outcome {
        std::optional<Result> result;
        std::exception_ptr failure;
    };
    struct Ending {
        InOrder& work;
        ~Ending() {
            const std::lock_guard hold(work.lock_);
            work.ended_ = true;
            work.mayStart_.notify_all();
        }
    };

    // Takes the number of the next unit once it may be started. Returns false after the last one.
    bool Start(std::size_t& unit) {
        std::unique_lock hold(lock_);
        mayStart_.wait(hold, [this] {
            // The unit to be taken next starts whatever it costs, or nothing would ever be taken.
            return ended_ || next_ == units_ || next_ == taken_ ||
                   waiting_ + cost_(next_) <= budget_;
        });
        if (ended_ || next_ == units_) return false;
        unit = next_++;
        waiting_ += cost_(unit);
        return true;
    }

    void Serve(unsigned worker, const Make& make) {
        for (std::size_t unit = 0; Start(unit);) {
            Outcome outcome;
            try {
                outcome.result.emplace(make(worker, unit));
            } catch (...) {
                outcome.failure = std::current_exception();
            }
            const std::lock_guard hold(lock_);
            made_.emplace(unit, std::move(outcome));
            if (unit == taken_) isMade_.notify_one();
        }
    }

    Outcome Await(std::size_t unit, Meter& meter) {
        using namespace std::chrono_literals;
        std::unique_lock hold(lock_);
        const auto found = [&] { return made_.contains(unit); };
        // Woken to report progress, which only this thread may do, and to see a cancellation.
        while (!isMade_.wait_for(hold, 50ms, found)) {
            hold.unlock();
            meter.Report();
            hold.lock();
        }
        Outcome outcome = std::move(made_.extract(unit).mapped());
        ++taken_;
        waiting_ -= cost_(unit);
        mayStart_.notify_all();
        return outcome;
    }

    const std::size_t units_;
    const unsigned threads_;
    const Cost cost_;
    const std::uint64_t budget_;

    std::mutex lock_;
    std::condition_variable mayStart_;
    std::condition_variable isMade_;
    std::map<std::size_t, Outcome> made_;
    std::size_t next_ = 0;   // unit to start
    std::size_t taken_ = 0;  // units
    std::uint64_t waiting_ = 0;
    bool ended_ = false;
};

}  // namespace patch
