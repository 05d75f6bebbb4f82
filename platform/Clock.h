// Clocks and pauses. None of them is affected by another: the counter and the ticks never run
// backwards, the wall clock may be set by a user.
#pragma once

#include <cstdint>

namespace platform {

// A counter of unknown origin for intervals, and its steps per second.
[[nodiscard]] std::uint64_t PerformanceCounter();
[[nodiscard]] std::uint64_t PerformanceFrequency();

// Milliseconds since an unknown origin; wraps every 49.7 days.
[[nodiscard]] std::uint32_t TickMilliseconds();

// Seconds since 1970-01-01 UTC.
[[nodiscard]] std::int64_t WallClockSeconds();

struct LocalTime {
    int year = 0;   // 2026
    int month = 0;  // 1 to 12
    int day = 0;    // 1 to 31
    int hour = 0;
    int minute = 0;
    int second = 0;
};
// All zeros for a time whose year no LocalTime can hold.
[[nodiscard]] LocalTime ToLocalTime(std::int64_t secondsSince1970);

void SleepMilliseconds(std::uint32_t milliseconds);

}  // namespace platform
