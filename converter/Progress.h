// Shows on standard error how far a long run is.
#pragma once

#include <cstdint>

// Silent unless standard error is a terminal and standard output, whose lines tell the same, is
// not.
class Progress {
public:
    Progress();
    // Removes the line.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // One more member is done.
    void Step();

private:
    const bool shown_;
    std::uint32_t members_ = 0;
    std::uint32_t lastShown_ = 0;  // tick, milliseconds
};
