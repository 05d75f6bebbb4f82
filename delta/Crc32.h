// CRC-32, which identifies the old file of a diff. New files and diffs are checked with CRC-64.
#pragma once

#include <cstdint>

#include "delta/Bytes.h"

namespace delta {

// Returns the CRC-32 that gzip uses.
[[nodiscard]] std::uint32_t Crc32(ByteView bytes);

}  // namespace delta
