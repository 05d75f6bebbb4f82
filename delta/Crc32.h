// The check sum of old files; that of new ones and diffs is CRC-64.
#pragma once

#include <cstdint>

#include "delta/Bytes.h"

namespace delta {

// Returns the usual CRC-32 (that of gzip) of the bytes.
[[nodiscard]] std::uint32_t Crc32(ByteView bytes);

}  // namespace delta
