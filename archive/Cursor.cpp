#include "archive/Cursor.h"

namespace archive {

namespace {

// A page: of a large member only its entry is wanted.
constexpr std::size_t kWindow = 4096;

}  // namespace

Cursor::Cursor(const platform::FileHandle& file, std::uint64_t first)
    : window_(file, kWindow), position_(first) {}

std::optional<Chunk> Cursor::Next() {
    const auto bytes = window_.At(position_, kChunkHeaderSize, kMemberPrefixSize);
    if (bytes.size() < kChunkHeaderSize) return std::nullopt;
    Chunk chunk;
    chunk.offset = position_;
    chunk.header = DecodeChunkHeader(bytes.first<kChunkHeaderSize>());
    if (chunk.IsMember()) {
        if (chunk.header.length < kFindEntrySize || chunk.DataOffset() > kMaxArchiveSize) {
            return std::nullopt;
        }
        const auto entry = window_.At(position_ + kChunkHeaderSize, kFindEntrySize);
        if (entry.size() < kFindEntrySize) return std::nullopt;
        std::ranges::copy(entry, chunk.entry.begin());
    }
    position_ = chunk.End();
    return chunk;
}

std::optional<Chunk> Cursor::NextMember() {
    while (auto chunk = Next()) {
        if (chunk->IsMember()) return chunk;
    }
    return std::nullopt;
}

}  // namespace archive
