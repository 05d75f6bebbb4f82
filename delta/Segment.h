#pragma once

#include <cstdint>
#include <vector>

#include "delta/OldIndex.h"

namespace delta {

// A piece of the new file: bytes copied from the old one, some of which differ, then fresh bytes
// that are not copied. 32 bits suffice, since files are below 4 GiB.
struct Segment {
    std::uint32_t oldAt = 0;  // where the copy starts in the old file
    std::uint32_t copied = 0;
    std::uint32_t fresh = 0;
};

// Finds the segments of the new file, front to back, and puts them into `segments` in place of what
// it holds. Matches are exact runs found by `index`, which must be built of `oldFile`, extended
// both ways over small differences.
void FindSegments(ByteView oldFile, ByteView newFile, const OldIndex& index,
                  std::vector<Segment>& segments);

// An upper bound of how many segments a new file of this size has: each starts with an exact match
// of keySize bytes, except the first.
constexpr std::uint64_t MostSegments(std::uint64_t newSize, std::size_t keySize) {
    return newSize / keySize + 2;
}

}  // namespace delta
