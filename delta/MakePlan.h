#pragma once

#include <cstdint>
#include <optional>

#include "delta/OldIndex.h"

namespace delta {

// Which methods a pair of these sizes is tried with, so that they stay within a limit of memory.
// Decided from the sizes alone, before anything is read.
struct MakePlan {
    // Index for finding segments; nothing if method 1 and 2 are not tried.
    std::optional<OldIndex::Shape> index;
    bool streams = false;
    // Levels of zstd for a first look and for the result; 0 if method 3 is not tried.
    int quickLevel = 0;
    int zstdLevel = 0;
    // Upper bound of what is held, the result included.
    std::uint64_t memory = 0;
};

// Throws Error (OutOfMemory) if the limit does not allow a diff that stores the new file.
[[nodiscard]] MakePlan PlanFor(std::uint64_t oldSize, std::uint64_t newSize,
                               std::uint64_t memoryLimit);

// The most differing and fresh bytes that are coded with models. They take about a third of a
// microsecond each; up to this they stay faster than sorting the old file would be.
constexpr std::uint64_t MostModelledBytes(std::uint64_t newSize) {
    return (128U << 10) + newSize / 8;
}

}  // namespace delta
