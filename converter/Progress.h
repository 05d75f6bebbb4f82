// Shows on standard error how far a long run is.
#pragma once

#include <cstdint>

namespace converter {

// Shows nothing unless standard error is a terminal and standard output is not: there the lines of
// the members show the same.
class Progress {
public:
    Progress();
    // Removes the line.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Counts one more member.
    void Step();

private:
    const bool shown_;
    std::uint32_t members_ = 0;
    std::uint32_t lastShown_ = 0;  // tick, milliseconds
};

}  // namespace converter
