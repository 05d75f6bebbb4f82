#include "archive/StreamCursor.h"

#include <algorithm>

#include "archive/BytePair.h"

namespace archive {

namespace {

constexpr const char* kFileEnds = "the file ends inside its data";

}  // namespace

BlockHeader StreamCursor::Header(Window& file, std::uint64_t left, std::uint64_t worth) {
    problem_ = nullptr;
    const std::uint64_t stored = end_ - offset_;
    if (stored < kBlockHeaderSize) {
        problem_ = "its compressed stream is cut short";
        return {};
    }
    const auto bytes = file.At(offset_, kBlockHeaderSize, std::min(worth, stored));
    if (bytes.size() < kBlockHeaderSize) {
        problem_ = kFileEnds;
        return {};
    }
    const BlockHeader header = DecodeBlockHeader(bytes.first<kBlockHeaderSize>());
    if (IsPossible(header, left) && kBlockHeaderSize + header.length <= stored) return header;
    problem_ = "a block of its compressed stream has an impossible length";
    return {};
}

std::span<const std::byte> StreamCursor::Next(Window& file, std::uint64_t left,
                                              std::span<std::byte, kBlockSize> room) {
    // A reader of one block mostly wants the next ones too.
    const BlockHeader header = Header(file, left, end_ - offset_);
    if (problem_) return {};
    const std::size_t whole = kBlockHeaderSize + header.length;
    const auto bytes = file.At(offset_, whole, end_ - offset_);
    if (bytes.size() < whole) {
        problem_ = kFileEnds;
        return {};
    }
    auto content = bytes.subspan(kBlockHeaderSize);
    if (!header.stored) {
        // Only the last compressed block has less than kBlockSize bytes of content.
        const auto expected = static_cast<std::size_t>(std::min<std::uint64_t>(kBlockSize, left));
        if (ExpandBlock(room, content) != expected) {
            problem_ = "a block of its compressed stream does not expand to its size";
            return {};
        }
        content = room.first(expected);
    }
    offset_ += whole;
    return content;
}

std::uint32_t StreamCursor::Skip(Window& file, std::uint64_t left, std::uint64_t most) {
    // Of a large block only the header is read: its data is not wanted.
    const BlockHeader header = Header(file, left, 0);
    // Too much for the last compressed block, which the caller therefore must not pass over.
    const std::uint32_t content = header.stored ? header.length : std::uint32_t{kBlockSize};
    if (problem_ || content > most) return 0;
    offset_ += kBlockHeaderSize + header.length;
    return content;
}

}  // namespace archive
