// Walks the chunks of an archive file.
//
// Borrows the file. Every length is checked against the file; the walk ends where a chunk cannot be
// followed by another one.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "archive/MemberTable.h"
#include "archive/Window.h"

namespace archive {

struct Chunk {
    std::uint64_t offset = 0;  // of its header
    ChunkHeader header;
    std::array<std::byte, kFindEntrySize> entry;  // of a live member; else not set

    [[nodiscard]] bool IsMember() const { return header.Is(kMemberChunk); }
    [[nodiscard]] std::uint64_t End() const { return offset + kChunkHeaderSize + header.length; }
    // Returns where a live member's data lies.
    [[nodiscard]] std::uint64_t DataOffset() const { return offset + kMemberPrefixSize; }
    [[nodiscard]] std::uint32_t StoredSize() const {
        return static_cast<std::uint32_t>(header.length - kFindEntrySize);
    }
};

class Cursor {
public:
    // `first` is the offset of the first chunk to visit.
    explicit Cursor(const platform::FileHandle& file, std::uint64_t first = kFirstChunkOffset);

    // Returns the next chunk of any kind; its data may reach past the end of the file. nullopt at
    // the end, or before a chunk that is cut short: less than a header, or than a live member's
    // entry. Throws Error (CannotRead).
    [[nodiscard]] std::optional<Chunk> Next();
    // Returns the next live member only.
    [[nodiscard]] std::optional<Chunk> NextMember();

    // Returns the offset after the last chunk.
    [[nodiscard]] std::uint64_t Position() const { return position_; }

private:
    Window window_;
    std::uint64_t position_;
};

}  // namespace archive
