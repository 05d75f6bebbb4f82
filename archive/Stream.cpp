#include "archive/Stream.h"

#include <algorithm>

#include "archive/ArchiveFormat.h"
#include "archive/BytePair.h"
#include "kernel/LittleEndian.h"

namespace archive {

using Vorn::LoadU16;
using Vorn::LoadU32;
using Vorn::StoreU16;
using Vorn::StoreU32;

namespace {

constexpr std::string_view kStreamMark = "CFIL";
constexpr std::uint16_t kStoredBlock = 0x8000;

}  // namespace

bool IsStreamMark(std::span<const std::byte> bytes) {
    return bytes.size() >= 4 && MarkEquals(bytes.first<4>(), kStreamMark);
}

StreamHeader DecodeStreamHeader(std::span<const std::byte, kStreamHeaderSize> bytes) {
    return {.version = LoadU32<4>(bytes), .contentSize = LoadU32<8>(bytes)};
}

std::array<std::byte, kStreamHeaderSize> EncodeStreamHeader(std::uint32_t contentSize) {
    std::array<std::byte, kStreamHeaderSize> bytes{};
    std::ranges::copy(std::as_bytes(std::span(kStreamMark)), bytes.begin());
    StoreU32<4>(std::span(bytes), kStreamVersion);
    StoreU32<8>(std::span(bytes), contentSize);
    return bytes;
}

BlockHeader DecodeBlockHeader(std::span<const std::byte, kBlockHeaderSize> bytes) {
    const std::uint16_t word = LoadU16<0>(bytes);
    return {.stored = (word & kStoredBlock) != 0,
            .length = static_cast<std::uint16_t>(word & ~kStoredBlock)};
}

bool IsPossible(BlockHeader header, std::uint64_t left) {
    // Packed data is never longer than a block. Stored data is content, so it must not pass what
    // the stream has left either.
    const std::uint64_t most =
        header.stored ? std::min<std::uint64_t>(kBlockSize, left) : kBlockSize;
    return header.length > 0 && header.length <= most;
}

std::span<const std::byte> EncodeBlock(BlockBuffer& block, std::span<const std::byte> piece) {
    const std::span<std::byte, kBlockHeaderSize + kBlockSize> whole(block);
    // Where packing saves nothing, CompressBlock copies the content and returns its size.
    const std::size_t length = CompressBlock(whole.subspan<kBlockHeaderSize>(), piece);
    const auto stored = static_cast<std::uint16_t>(length == piece.size() ? kStoredBlock : 0);
    StoreU16<0>(whole, static_cast<std::uint16_t>(length | stored));
    return whole.first(kBlockHeaderSize + length);
}

}  // namespace archive
