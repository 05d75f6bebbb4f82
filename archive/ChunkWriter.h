// Writes chunks of an archive file one after another, from an offset on.
//
// Nothing before that offset is touched, and no header names what is written: making it count is
// the caller's last step. What is written is read back at once, while it is in the processor's
// cache, and compared. Borrows the file. One thread at a time.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "archive/MemberTable.h"
#include "platform/Files.h"

namespace archive {

class ChunkWriter {
public:
    ChunkWriter(platform::FileHandle& file, std::uint64_t start)
        : file_(file), start_(start), written_(start) {}

    // Returns the offset of the next byte.
    [[nodiscard]] std::uint64_t End() const { return written_ + buffer_.size(); }

    // Each throws Error: Full when the archive would pass 4 GiB, NoSpace, CannotWrite, CannotRead.
    void Append(std::span<const std::byte> bytes);
    // Appends the index of the members that are there.
    void AppendIndex(const MemberTable& members);
    // Replaces bytes that were appended.
    void Replace(std::uint64_t offset, std::span<const std::byte> bytes);
    // Hands all bytes to the system.
    void Flush();

    // Takes back everything from `offset` on.
    void CutBack(std::uint64_t offset);
    // Takes back everything, in the file too.
    void Discard();

private:
    void Write(std::uint64_t offset, std::span<const std::byte> bytes);

    platform::FileHandle& file_;
    const std::uint64_t start_;
    std::uint64_t written_;  // the file has what lies before, the buffer what follows
    std::vector<std::byte> buffer_;
    using Piece = std::array<std::byte, 65536>;
    std::unique_ptr<Piece> piece_;  // read back
};

}  // namespace archive
