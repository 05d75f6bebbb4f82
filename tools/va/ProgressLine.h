// Progress on standard error: a line that is redrawn on a terminal, or JSON objects for a program.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace va::tool {

enum class ProgressMode { Auto, Always, Never, Json };

// Shows nothing in the first half second, so that short work stays silent, and redraws at most ten
// times a second, so that it costs nearly nothing. For one thread.
class ProgressLine {
public:
    // Auto shows the line only on a terminal.
    explicit ProgressLine(ProgressMode mode);
    ~ProgressLine() { Clear(); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    // Shows `done` of `total` bytes of a step. The rate is measured from the start of the step.
    void Show(std::string_view step, std::uint64_t done, std::uint64_t total);

    // Erases the line. Must be called before anything else is written to the terminal.
    void Clear();

private:
    using Clock = std::chrono::steady_clock;

    void Draw(std::uint64_t done, std::uint64_t total, Clock::time_point now);

    ProgressMode mode_;
    Clock::time_point next_;  // earliest time of the next redraw
    Clock::time_point stepStart_;
    std::string step_;
    std::size_t columns_ = 0;  // width of the line on the terminal
};

}  // namespace va::tool
