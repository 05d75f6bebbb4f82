// The "CFIL" stream: a header of 12 bytes, then one block for every 16,384 bytes of content.
//
// A block is a 16-bit header (bit 15: stored verbatim; the rest: the number of data bytes) and its
// data, verbatim or byte-pair encoded (BytePair.h). Blocks are independent of each other.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace archive {

inline constexpr std::size_t kBlockSize = 16384;  // content bytes in every block but the last
inline constexpr std::size_t kBlockHeaderSize = 2;
inline constexpr std::size_t kStreamHeaderSize = 12;
inline constexpr std::size_t kShortStreamHeaderSize = 4;  // members of version 0x101 archives
inline constexpr std::uint32_t kStreamVersion = 0x101;

using BlockBuffer = std::array<std::byte, kBlockHeaderSize + kBlockSize>;

struct StreamHeader {
    std::uint32_t version = 0;
    std::uint32_t contentSize = 0;
};
[[nodiscard]] bool IsStreamMark(std::span<const std::byte> bytes);  // "CFIL" in any letter case
[[nodiscard]] StreamHeader DecodeStreamHeader(std::span<const std::byte, kStreamHeaderSize> bytes);
[[nodiscard]] std::array<std::byte, kStreamHeaderSize> EncodeStreamHeader(
    std::uint32_t contentSize);

struct BlockHeader {
    bool stored = false;
    std::uint16_t length = 0;  // data bytes after the header, up to 32,767: see IsPossible
};
[[nodiscard]] BlockHeader DecodeBlockHeader(std::span<const std::byte, kBlockHeaderSize> bytes);

// Returns whether a block with this header can be the next one of a stream that has `left` bytes of
// content left. Only a stored block, or the last one, holds less than 16,384 bytes of content.
[[nodiscard]] bool IsPossible(BlockHeader header, std::uint64_t left);

// Fixed: where nothing else is asked for, members with more bytes of content are compressed.
// Programs rely on it that must come to the same bytes, so it never changes.
inline constexpr std::uint32_t kLargestPlain = 1024;

// Returns whether a stream is worth its time: it saves 2 % of the content.
[[nodiscard]] constexpr bool SavesEnough(std::uint64_t content, std::uint64_t stream) {
    return stream * 100 <= content * 98;
}

// Makes the block of one piece (at most 16,384 bytes): header and data, in `block`.
[[nodiscard]] std::span<const std::byte> EncodeBlock(BlockBuffer& block,
                                                     std::span<const std::byte> piece);

}  // namespace archive
