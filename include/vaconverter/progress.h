// How far an operation is, and how to stop it.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace va {

struct Progress {
    std::string_view step;   // what is being done, such as "comparing"; valid during the call
    std::uint64_t done = 0;  // bytes of this step
    std::uint64_t total = 0;
};

// Called now and then, at least once for each 4 MB of work, always from the thread that called the
// operation. Returns whether to go on: after false the operation leaves nothing behind and throws
// Error (Refused, "cancelled"). An empty function is never called. An exception that it throws ends
// the operation in the same way and reaches the caller.
using ProgressFunction = std::function<bool(const Progress&)>;

}  // namespace va
