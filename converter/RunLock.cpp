#include "converter/RunLock.h"

#include "converter/Console.h"
#include "converter/Guarded.h"
#include "platform/Clock.h"

namespace converter {

namespace {

constexpr std::uint32_t kRetryMilliseconds = 100;

}  // namespace

bool WaitForLock(platform::PathLock& lock, const std::string& path, const std::string& problem) {
    using Result = platform::PathLock::Result;
    bool told = false;
    for (;;) {
        const Result result = lock.TryAcquire(path.c_str());
        if (result != Result::Busy) return result == Result::Held;
        if (!told) PrintProblem(problem);
        told = true;
        StopIfAsked();
        platform::SleepMilliseconds(kRetryMilliseconds);
    }
}

}  // namespace converter
