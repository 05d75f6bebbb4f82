// Reads the content of an open file: its bytes as they are, or the blocks of a compressed stream.
//
// One block of content is held, so that small reads need no system call each; larger reads go
// straight into the caller's memory.
//
// Damage ends a file: its size is 0 from then on. Failed distinguishes that from a real end.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "KernelStandard/OpenFile.h"
#include "archive/StreamCursor.h"

namespace Vorn {

class BlockReader {
public:
    // Borrows the file.
    explicit BlockReader(OpenFile& file) : file_(file) {}
    BlockReader(const BlockReader&) = delete;
    BlockReader& operator=(const BlockReader&) = delete;

    // Forgets the previous file. The next one reads as its bytes unless DetectStream finds a
    // stream.
    void Begin();

    enum class Form { Bytes, Stream, TooShort, Unreadable };  // TooShort for a stream's header
    // Reads the start of the file and returns its form. Sets a stream's size to that of its
    // content.
    [[nodiscard]] Form DetectStream();
    [[nodiscard]] bool IsStream() const { return blocks_.has_value(); }

    // Reads at `position`, which in a stream must be where the last read ended or GoTo went.
    // Returns the bytes read; fewer than asked only at the end, or at damage.
    [[nodiscard]] std::size_t Read(std::uint32_t position, std::span<std::byte> into);
    // Returns the content that is held from `position` on, and reads a block if there is none;
    // empty only at the end, or at damage. Valid until the next call.
    [[nodiscard]] std::span<const std::byte> Peek(std::uint32_t position) {
        const auto held = Held(position);
        return held.empty() && Refill(position) ? Held(position) : held;
    }
    // Goes to a position before the end of a stream. False if a block header on the way is damaged.
    [[nodiscard]] bool GoTo(std::uint32_t position);
    // Drops the block that is held, because the file may have changed. Not for streams, whose
    // reading position is tied to that block.
    void Forget() { held_ = {}; }

    // Returns whether a read met damage, or an error, instead of content.
    [[nodiscard]] bool Failed() const { return failed_; }

private:
    using Block = std::array<std::byte, archive::kBlockSize>;

    // Returns what is held from `position` on.
    [[nodiscard]] std::span<const std::byte> Held(std::uint32_t position) const {
        const std::uint32_t skipped = position - start_;  // wraps for a position before the block
        return skipped < held_.size() ? held_.subspan(skipped) : std::span<const std::byte>();
    }
    // Reads from the held block, or reads the next block straight into a large `into`.
    [[nodiscard]] std::size_t ReadStep(std::uint32_t position, std::span<std::byte> into);
    // Holds the next content, from `position` on.
    [[nodiscard]] bool Refill(std::uint32_t position);
    // Reads bytes as they are from a position before the end, or the next block of a stream, which
    // may lie in the window instead of `into`. Return the content; after damage the file has ended
    // (EndAtDamage).
    [[nodiscard]] std::span<const std::byte> NextBytes(std::uint32_t position,
                                                       std::span<std::byte> into);
    [[nodiscard]] std::span<const std::byte> NextBlock(
        std::span<std::byte, archive::kBlockSize> into);
    // Goes to the block that has `position`. False for damage on the way.
    [[nodiscard]] bool SkipToBlockOf(std::uint32_t position);
    void Rewind();
    void EndAtDamage();
    [[nodiscard]] Block& Room();

    OpenFile& file_;
    std::unique_ptr<Block> room_;      // allocated at the first read, then kept
    std::uint32_t start_ = 0;          // position of the first byte that is held
    std::span<const std::byte> held_;  // a block of content, in room_ or window_
    bool failed_ = false;

    // For a stream only.
    std::optional<archive::Window> window_;  // on the stored bytes; allocated at the first stream
    std::optional<archive::StreamCursor> blocks_;
    std::uint32_t firstBlock_ = 0;  // offset of the first block in the stored bytes
    std::uint32_t next_ = 0;        // position of the next block
};

}  // namespace Vorn
