#pragma once

#include <cstdint>
#include <vector>

#include "delta/OldIndex.h"

namespace delta {

// A piece of the new file: bytes copied from the old one, some of which differ, then fresh bytes
// that have no counterpart. 32 bits suffice, since files are below 4 GiB.
struct Segment {
    std::uint32_t oldAt = 0;  // where the copy starts in the old file
    std::uint32_t copied = 0;
    std::uint32_t fresh = 0;
};

// Replaces the content of `segments` by the segments of the new file, front to back. They begin
// with exact runs that `index`, built of `oldFile`, finds, extended both ways over small
// differences.
void FindSegments(ByteView oldFile, ByteView newFile, const OldIndex& index,
                  std::vector<Segment>& segments);

// Returns an upper bound of the segments of a new file of this size: each holds an exact match of
// keySize bytes, except the first.
constexpr std::uint64_t MostSegments(std::uint64_t newSize, std::size_t keySize) {
    return newSize / keySize + 2;
}

}  // namespace delta
