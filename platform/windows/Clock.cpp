#include "platform/Clock.h"

#include <windows.h>

#include <ctime>

namespace platform {

std::uint64_t PerformanceCounter() {
    LARGE_INTEGER counter{};
    QueryPerformanceCounter(&counter);
    return static_cast<std::uint64_t>(counter.QuadPart);
}

std::uint64_t PerformanceFrequency() {
    LARGE_INTEGER frequency{};
    QueryPerformanceFrequency(&frequency);
    return static_cast<std::uint64_t>(frequency.QuadPart);
}

std::uint32_t TickMilliseconds() { return static_cast<std::uint32_t>(GetTickCount64()); }

std::int64_t WallClockSeconds() { return std::time(nullptr); }

LocalTime ToLocalTime(std::int64_t secondsSince1970) {
    constexpr int kYearOrigin = 1900;
    const __time64_t seconds = secondsSince1970;
    std::tm parts{};
    if (_localtime64_s(&parts, &seconds) != 0) return {};
    return {.year = parts.tm_year + kYearOrigin,
            .month = parts.tm_mon + 1,
            .day = parts.tm_mday,
            .hour = parts.tm_hour,
            .minute = parts.tm_min,
            .second = parts.tm_sec};
}

void SleepMilliseconds(std::uint32_t milliseconds) { Sleep(milliseconds); }

}  // namespace platform
