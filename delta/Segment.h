// The segments of a new file, and the search for them in the old one.
#pragma once

#include <cstdint>
#include <vector>

#include "delta/OldIndex.h"

namespace delta {

// A piece of the new file: bytes copied from the old file, some of which may differ, then fresh
// bytes without a counterpart. 32 bits suffice, since files are below 4 GiB.
struct Segment {
    std::uint32_t oldAt = 0;  // where the copy starts in the old file
    std::uint32_t copied = 0;
    std::uint32_t fresh = 0;
};

// Replaces the content of `segments` by the segments of the new file, in order. Each is an exact
// match found through `index`, which was built of `oldFile`, and extended in both directions over
// small differences.
void FindSegments(ByteView oldFile, ByteView newFile, const OldIndex& index,
                  std::vector<Segment>& segments);

// Returns an upper bound of the number of segments of a new file of this size: each except the
// first contains an exact match of keySize bytes.
constexpr std::uint64_t MostSegments(std::uint64_t newSize, std::size_t keySize) {
    return newSize / keySize + 2;
}

}  // namespace delta
