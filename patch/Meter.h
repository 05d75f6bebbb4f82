// How far a step of the work is, reported to the caller, who may stop it.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace patch {

// Takes the step, its bytes done so far, and all of them; returns false to cancel the work.
using ProgressFunction =
    std::function<bool(std::string_view step, std::uint64_t done, std::uint64_t total)>;

// Thrown when the caller's function has cancelled the work.
class Cancelled : public std::runtime_error {
public:
    Cancelled() : std::runtime_error("cancelled") {}
};

// Counts the bytes of one step. Any thread adds; the caller's function is called only by the
// thread that made the meter, at most once a megabyte.
class Meter {
public:
    // Borrows the function, which may be empty.
    Meter(const ProgressFunction& function, std::string_view step, std::uint64_t total)
        : function_(function), step_(step), total_(total) {}

    // Throws Cancelled once the caller's function has returned false.
    void Add(std::uint64_t bytes);

    // Calls the caller's function if there is enough to report. Only the thread that made this.
    // Throws Cancelled.
    void Report(bool force = false);

private:
    const ProgressFunction& function_;
    const std::string_view step_;
    const std::uint64_t total_;
    std::atomic<std::uint64_t> done_ = 0;
    std::uint64_t reported_ = 0;
    std::atomic<bool> cancelled_ = false;
    std::thread::id home_ = std::this_thread::get_id();
};

}  // namespace patch
