// Reports the progress of an operation, and lets the caller cancel it.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace va {

struct Progress {
    std::string_view step;   // the current step, such as "comparing"; valid during the call
    std::uint64_t done = 0;  // bytes of this step
    std::uint64_t total = 0;
};

// Called at least once for each 4 MB of work, always on the thread that called the operation.
// Return false to cancel: the operation removes its unfinished results and throws Error (Refused,
// "cancelled"). An exception ends the operation in the same way and reaches the caller. An empty
// function is never called.
using ProgressFunction = std::function<bool(const Progress&)>;

}  // namespace va
