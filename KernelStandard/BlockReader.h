// Reads the content of an open file: its bytes as they are, or the blocks of a compressed stream.
//
// One block of content is held, so that small reads need no system call each; larger reads go
// straight into the caller's memory. A stream has no table of its blocks: a position is reached by
// walking the block headers before it.
//
// Damage ends a file: its size is 0 from then on. Failed distinguishes that from a real end.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "KernelStandard/OpenFile.h"
#include "archive/Stream.h"

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
    [[nodiscard]] bool IsStream() const { return stream_; }

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
    void Forget() { held_ = 0; }

    // Returns whether a read met damage, or an error, instead of content.
    [[nodiscard]] bool Failed() const { return failed_; }

private:
    using Block = std::array<std::byte, archive::kBlockSize>;

    // Returns what is held from `position` on.
    [[nodiscard]] std::span<const std::byte> Held(std::uint32_t position) const {
        const std::uint32_t skipped = position - start_;  // wraps for a position before the block
        if (skipped >= held_) return {};
        return std::span(*block_).subspan(skipped, held_ - skipped);
    }
    // Reads from the held block, or reads the next block straight into a large `into`.
    [[nodiscard]] std::size_t ReadStep(std::uint32_t position, std::span<std::byte> into);
    // Fills the held block with content from `position` on.
    [[nodiscard]] bool Refill(std::uint32_t position);
    // Reads stored bytes, or the next block of a stream. Return the bytes of content; after damage
    // the file has ended (EndAtDamage).
    [[nodiscard]] std::uint32_t FillBytes(std::uint32_t position, std::span<std::byte> into);
    [[nodiscard]] std::uint32_t FillBlock(std::span<std::byte, archive::kBlockSize> into);
    // Returns the content bytes of the next block, or 0 if it is damaged.
    [[nodiscard]] std::uint32_t DecodeBlock(std::span<std::byte, archive::kBlockSize> into);
    [[nodiscard]] bool ReadHeader(archive::BlockHeader& header);
    [[nodiscard]] bool ReadStored(std::span<std::byte> into);
    // Moves to the header of the block that has `position`.
    [[nodiscard]] bool SkipToBlockOf(std::uint32_t position);
    void Rewind();
    void EndAtDamage();

    OpenFile& file_;
    std::unique_ptr<Block> block_;   // allocated at the first read, then kept
    std::unique_ptr<Block> packed_;  // the data of a compressed block; allocated at the first one
    std::uint32_t start_ = 0;        // position of the first byte in block_
    std::uint32_t held_ = 0;         // valid bytes in block_
    bool failed_ = false;

    // For a stream only.
    bool stream_ = false;
    std::uint32_t firstBlock_ = 0;  // offset of the first block in the stored bytes
    std::uint32_t next_ = 0;        // position of the next block
    std::uint64_t nextOffset_ = 0;  // its offset in the stored bytes
};

}  // namespace Vorn
