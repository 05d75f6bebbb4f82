#pragma once

#include <cstdint>
#include <vector>

#include "delta/Bytes.h"

namespace vdiff {

// A piece of the new file: bytes copied from the old one, some of which differ, then fresh bytes of
// its own.
struct Span {
    std::uint64_t oldAt = 0;
    std::uint64_t copied = 0;
    std::uint64_t fresh = 0;
};

// The new file as spans, front to back. Matches are exact runs found by an index of the old file,
// extended both ways over small differences.
[[nodiscard]] std::vector<Span> FindSpans(ByteView oldFile, ByteView newFile);

}  // namespace vdiff
