// Writes the chunk of one member at the end of an archive file (layout: docs/formats/archive.md).
//
// While the chunk is written it is a deleted one that reaches past the end of the file, and so the
// last thing that a walk over the chunks sees. One byte, written last, makes it a member: whenever
// the process is killed, no part of a member is taken for one.
//
// Content is encoded in pieces of 16,384 bytes and written from a buffer: a small member takes two
// writes. What cannot be written is left to the caller to truncate.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "archive/ArchiveFormat.h"
#include "platform/Files.h"

namespace Vorn {

class MemberWriter {
public:
    // Content bytes done, and stored bytes so far (0 for a plain member).
    using Progress = void (*)(std::uint32_t contentBytes, std::uint32_t storedBytes);

    // `entry` says name, size and attributes; stored size and CRC come in. The file ends at
    // `chunkOffset`, and no byte of the chunk may stand at `limit` or behind. `buffer` is working
    // space that a caller keeps for the next member.
    MemberWriter(platform::FileHandle& archive, std::vector<std::byte>& buffer,
                 std::uint64_t chunkOffset, std::uint64_t limit, FindEntry& entry);

    // The content: the first `entry.size` bytes of a file.
    [[nodiscard]] bool Copy(const platform::FileHandle& content, Progress progress);
    // Makes it a member.
    [[nodiscard]] bool Finish();

    // The offset behind what there is of the chunk.
    [[nodiscard]] std::uint64_t End() const { return written_ + buffer_.size(); }
    [[nodiscard]] std::uint64_t DataOffset() const { return chunkOffset_ + kMemberPrefixSize; }
    // Whether it failed because it would have passed the limit.
    [[nodiscard]] bool WasFull() const { return full_; }

private:
    void EncodePrefix(std::span<std::byte, kMemberPrefixSize> bytes,
                      std::uint64_t dataLength) const;
    [[nodiscard]] bool Append(ByteView bytes);
    [[nodiscard]] bool Flush();

    platform::FileHandle& archive_;
    std::vector<std::byte>& buffer_;
    const std::uint64_t chunkOffset_;
    const std::uint64_t limit_;
    FindEntry& entry_;
    std::uint64_t written_;  // the offset up to which the buffer has been written out
    bool full_ = false;
};

}  // namespace Vorn
