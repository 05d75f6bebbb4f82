// The layout of a diff; docs/formats/diff.md has a worked example.
#pragma once

#include <cstdint>

#include "delta/Bytes.h"

namespace delta {

enum class Method : std::uint8_t {
    Stored = 0,    // the payload is the new file
    Modelled = 1,  // segments, coded with models that learn (SegmentCodec)
    Streams = 2,   // segments, as streams packed with LZMA (SegmentStreams)
    ZstdAfter = 3  // one zstd frame with the old file as its prefix
};

// The largest LZMA dictionary of a stream, in bytes; part of the format.
constexpr std::uint64_t kMaxStreamDictionary = 16U << 20;

struct Header {
    Method method = Method::Stored;
    std::uint64_t oldSize = 0;
    std::uint64_t newSize = 0;
    std::uint32_t oldCheck = 0;  // CRC-32 of the old file
    std::uint64_t check = 0;  // CRC-64 of the new file, the header before this field, the payload
};

struct ParsedDiff {
    Header header;
    ByteView payload;
};

// Returns the CRC-32 of a whole file.
[[nodiscard]] std::uint32_t OldCheck(ByteView oldFile);

// Returns everything before the payload.
[[nodiscard]] ByteBuffer MakeHead(Method method, ByteView oldFile, ByteView newFile,
                                  ByteView payload);

// Reads the header. Throws Error (Damaged) if `diff` does not begin with a valid one.
[[nodiscard]] ParsedDiff Parse(ByteView diff);

// Returns whether the diff's check was made from `newFile` and every other byte of `diff`.
[[nodiscard]] bool CheckHolds(const ParsedDiff& parsed, ByteView diff, ByteView newFile);

}  // namespace delta
