#pragma once

#include <cstdint>
#include <optional>

#include "delta/OldIndex.h"

namespace delta {

// The methods that a pair is tried with, so that they stay within a limit of memory. Decided from
// the sizes alone, so that the memory is known before anything is read.
struct MakePlan {
    // The index for finding segments; nullopt if methods 1 and 2 are not tried.
    std::optional<OldIndex::Shape> index;
    bool streams = false;
    // Bytes of the largest payload that is tried. Below the size of the new content, the tables and
    // the room of a diff that stores it are never held at once: they are released before.
    std::uint64_t room = 0;
    bool sharesRoom = false;
    // The levels of zstd for a first look and for the result; 0 if method 3 is not tried.
    int quickLevel = 0;
    int zstdLevel = 0;
    // Upper bound of the bytes held, the result included.
    std::uint64_t memory = 0;
};

// Throws Error (OutOfMemory) if the limit is too small for a diff that stores the new file.
[[nodiscard]] MakePlan PlanFor(std::uint64_t oldSize, std::uint64_t newSize,
                               std::uint64_t memoryLimit);

// Returns the most differing and fresh bytes that are coded with models. Each takes about a third
// of a microsecond; up to this number a diff is still made faster than by sorting the old file, as
// the common diff programs do.
constexpr std::uint64_t MostModelledBytes(std::uint64_t newSize) {
    return (128U << 10) + newSize / 8;
}

}  // namespace delta
