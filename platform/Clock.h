// Clocks and pauses. The performance counter and the ticks never run backwards; the wall clock can
// jump when a user sets it.
#pragma once

#include <cstdint>

namespace platform {

// Returns a counter for measuring intervals (its origin is unknown), and its steps per second.
[[nodiscard]] std::uint64_t PerformanceCounter();
[[nodiscard]] std::uint64_t PerformanceFrequency();

// Returns milliseconds since an unknown origin; wraps every 49.7 days.
[[nodiscard]] std::uint32_t TickMilliseconds();

// Returns seconds since 1970-01-01 UTC.
[[nodiscard]] std::int64_t WallClockSeconds();

struct LocalTime {
    int year = 0;   // 2026
    int month = 0;  // 1 to 12
    int day = 0;    // 1 to 31
    int hour = 0;
    int minute = 0;
    int second = 0;
};
// Returns all zeros for a time whose year does not fit LocalTime.
[[nodiscard]] LocalTime ToLocalTime(std::int64_t secondsSince1970);

void SleepMilliseconds(std::uint32_t milliseconds);

}  // namespace platform
