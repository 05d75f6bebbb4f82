#include "platform/Clock.h"

#include <chrono>
#include <ctime>
#include <ratio>
#include <thread>

namespace platform {
namespace {

using Steady = std::chrono::steady_clock;

}  // namespace

std::uint64_t PerformanceCounter() {
    return static_cast<std::uint64_t>(Steady::now().time_since_epoch().count());
}

std::uint64_t PerformanceFrequency() {
    static_assert(Steady::period::num == 1);
    return Steady::period::den;
}

std::uint32_t TickMilliseconds() {
    using std::chrono::milliseconds;
    const auto sinceOrigin = Steady::now().time_since_epoch();
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<milliseconds>(sinceOrigin).count());
}

std::int64_t WallClockSeconds() { return std::time(nullptr); }

LocalTime ToLocalTime(std::int64_t secondsSince1970) {
    constexpr int kYearOrigin = 1900;
    const std::time_t seconds = secondsSince1970;
    std::tm parts{};
    if (!localtime_r(&seconds, &parts)) {
        return {};
    }
    return {.year = parts.tm_year + kYearOrigin,
            .month = parts.tm_mon + 1,
            .day = parts.tm_mday,
            .hour = parts.tm_hour,
            .minute = parts.tm_min,
            .second = parts.tm_sec};
}

void SleepMilliseconds(std::uint32_t milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

}  // namespace platform
