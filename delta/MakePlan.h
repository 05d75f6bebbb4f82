// Decides which methods a pair of files is tried with under a memory limit.
#pragma once

#include <cstdint>
#include <optional>

#include "delta/OldIndex.h"

namespace delta {

// The methods that a pair is tried with. The plan depends only on the sizes and the limit, so the
// memory is known before anything is read.
struct MakePlan {
    // The index for finding segments; nullopt if methods 1 and 2 are not tried.
    std::optional<OldIndex::Shape> index;
    bool streams = false;
    // The size of the largest payload that is tried, in bytes.
    std::uint64_t room = 0;
    // True if the limit is too low to hold the tables and a stored diff together: the tables are
    // then released before the new content is stored.
    bool sharesRoom = false;
    // The zstd levels of the first estimate and of the result; 0 if method 3 is not tried.
    int quickLevel = 0;
    int zstdLevel = 0;
    // Upper bound of the memory held, in bytes, the result included.
    std::uint64_t memory = 0;
};

// Throws Error (OutOfMemory) if the limit is too small for a diff that stores the new file.
[[nodiscard]] MakePlan PlanFor(std::uint64_t oldSize, std::uint64_t newSize,
                               std::uint64_t memoryLimit);

// Returns the largest number of differing and fresh bytes that are coded with models. Each takes
// about a third of a microsecond; up to this number a diff still takes less time than sorting the
// old file would.
constexpr std::uint64_t MostModelledBytes(std::uint64_t newSize) {
    return (128U << 10) + newSize / 8;
}

}  // namespace delta
