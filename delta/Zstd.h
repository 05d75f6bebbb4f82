#pragma once

#include <optional>

#include "delta/Bytes.h"

namespace vdiff {

// Writes a bare zstd frame of `input` with `prefix` before it to the front of `room`: without
// magic, check and size. The bytes written, or nothing when `room` is too small.
[[nodiscard]] std::optional<std::size_t> PackZstd(ByteView input, ByteView prefix, int level,
                                                  std::span<std::uint8_t> room);

// Fills `out` with what PackZstd packed. Throws PatchError (DamagedDiff) when the frame holds
// anything else than out.size() bytes. Takes a fixed amount of memory.
void UnpackZstd(ByteView packed, ByteView prefix, std::span<std::uint8_t> out);

}  // namespace vdiff
