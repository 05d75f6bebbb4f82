// Reads the content of members, one after another, in pieces.
//
// A member's data is a compressed stream if its entry says so, or its sizes differ, and the data
// begins with the stream's mark; else it is plain. Sizes are limits that the bytes must keep, never
// allocations: memory is one window on the file and one block.
//
// Borrows the file. One thread at a time; any number of readers on one file.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "archive/Crc32.h"
#include "archive/MemberTable.h"
#include "archive/StreamCursor.h"

namespace archive {

class ContentReader {
public:
    static constexpr std::size_t kDefaultWindow = 65536;

    // `version` is the archive's format version; `fileSize` bounds what members may claim.
    ContentReader(const platform::FileHandle& file, std::uint64_t fileSize, std::uint32_t version,
                  std::size_t window = kDefaultWindow);

    // Goes to the start of a member, whose name must stay valid. Throws Error (Damaged) when the
    // data does not lie in the file or cannot give `size` bytes of content. The member's archive
    // begins at `base` in the file.
    void Begin(const Member& member, std::uint64_t base = 0);
    // Returns the next piece of content, at most a window long and valid until the next call; empty
    // after the last one. Throws Error: Damaged, CannotRead, or SumDiffers after the last piece
    // when the content disagrees with a recorded check sum.
    [[nodiscard]] std::span<const std::byte> Next();

    // Returns whether the member's data is a compressed stream.
    [[nodiscard]] bool IsStream() const { return blocks_.has_value(); }
    // Returns the offset in the file of the next byte of the member's data.
    [[nodiscard]] std::uint64_t Position() const { return blocks_ ? blocks_->Offset() : position_; }
    // Returns the window on the file's bytes as they are.
    [[nodiscard]] Window& Raw() { return window_; }

private:
    void LookForStream();
    [[nodiscard]] std::uint64_t DataEnd() const { return begin_ + member_.storedSize; }
    [[nodiscard]] std::span<const std::byte> NextPlain();
    [[nodiscard]] std::span<const std::byte> NextBlock();
    void Finish();
    [[noreturn]] void Fail(ErrorCode code, const char* reason) const;

    Window window_;
    std::uint64_t fileSize_;
    std::uint32_t version_;
    Member member_;
    std::uint64_t begin_ = 0;  // of the member's data
    bool finished_ = true;
    std::uint64_t position_ = 0;          // of the next byte of plain data
    std::optional<StreamCursor> blocks_;  // of a stream
    std::uint32_t left_ = 0;              // bytes of content
    Crc32 sum_;
    std::unique_ptr<std::array<std::byte, kBlockSize>> block_;
};

}  // namespace archive
