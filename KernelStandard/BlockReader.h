// Reads the content of an open file: its bytes as they are, or the blocks of a compressed stream.
//
// One block of content is held, so that small reads cost no system call each; larger reads go
// straight to the caller. The blocks of a stream are found by walking their headers.
//
// Damage ends a file: the size is 0 from then on, and Failed tells it from a real end.
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

    // Prepares for a file that is being opened. It reads as its bytes unless DetectStream finds a
    // stream.
    void Begin();

    enum class Form { Bytes, Stream, TooShort, Unreadable };  // TooShort for a stream's header
    // Looks at the start of the file. A stream's size becomes that of its content.
    [[nodiscard]] Form DetectStream();
    [[nodiscard]] bool IsStream() const { return stream_; }

    // Reads at `position`, which in a stream is where the last read ended or GoTo led. Returns the
    // bytes read; fewer than asked only at the end, or at damage.
    [[nodiscard]] std::size_t Read(std::uint32_t position, std::span<std::byte> into);
    // Returns content from `position` on, read ahead but not passed over; empty only at the end, or
    // at damage. Valid until the next call.
    [[nodiscard]] std::span<const std::byte> Peek(std::uint32_t position) {
        const auto held = Held(position);
        return held.empty() && Refill(position) ? Held(position) : held;
    }
    // Goes to a position before the end of a stream. False if the way there is damaged.
    [[nodiscard]] bool GoTo(std::uint32_t position);
    // Drops the block that is held, because the file may have changed. Not for streams.
    void Forget() { held_ = 0; }

    // Returns whether a read met damage, or an error, instead of content.
    [[nodiscard]] bool Failed() const { return failed_; }

private:
    using Block = std::array<std::byte, archive::kBlockSize>;

    [[nodiscard]] std::span<const std::byte> Held(std::uint32_t position) const {
        const std::uint32_t skipped = position - start_;  // wraps for a position before the block
        if (skipped >= held_) return {};
        return std::span(*block_).subspan(skipped, held_ - skipped);
    }
    [[nodiscard]] std::size_t ReadStep(std::uint32_t position, std::span<std::byte> into);
    [[nodiscard]] bool Refill(std::uint32_t position);
    [[nodiscard]] std::uint32_t FillBytes(std::uint32_t position, std::span<std::byte> into);
    [[nodiscard]] std::uint32_t FillBlock(std::span<std::byte, archive::kBlockSize> into);
    [[nodiscard]] std::uint32_t DecodeBlock(std::span<std::byte, archive::kBlockSize> into);
    [[nodiscard]] bool ReadHeader(archive::BlockHeader& header);
    [[nodiscard]] bool ReadStored(std::span<std::byte> into);
    [[nodiscard]] bool SkipToBlockOf(std::uint32_t position);
    void Rewind();
    void EndAtDamage();

    OpenFile& file_;
    std::unique_ptr<Block> block_;   // made at the first read
    std::unique_ptr<Block> packed_;  // the data of a compressed block; made at the first one
    std::uint32_t start_ = 0;        // position of the first byte in block_
    std::uint32_t held_ = 0;         // valid bytes in block_
    bool failed_ = false;

    // Of a stream.
    bool stream_ = false;
    std::uint32_t firstBlock_ = 0;  // offset of the first block in the stored bytes
    std::uint32_t next_ = 0;        // position of the next block
    std::uint64_t nextOffset_ = 0;  // its offset in the stored bytes
};

}  // namespace Vorn
