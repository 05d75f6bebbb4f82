// A stream over a block of memory.
//
// The block is borrowed, or owned by the stream. A growing block starts empty and allocates as it
// is written; a fixed one is a read-only view of the caller's bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "assetdata/TStream.h"

namespace Vorn {

// The store of a TBuffer: memory, position and sizes.
class TBufferBlock {
public:
    // Capacities are multiples of `growthStep`. Throws NorvaneEx for a step of 0.
    explicit TBufferBlock(std::uint32_t growthStep);
    // Makes a fixed block over `content`, which must outlive it and be below 4 GiB (else
    // NorvaneEx).
    explicit TBufferBlock(std::span<const std::byte> content);

    [[nodiscard]] std::span<const std::byte> Content() const { return {data_, length_}; }
    [[nodiscard]] std::uint32_t Position() const { return position_; }
    [[nodiscard]] std::uint32_t Capacity() const { return capacity_; }
    [[nodiscard]] std::uint32_t Length() const { return length_; }
    [[nodiscard]] std::uint32_t GrowthStep() const { return growthStep_; }
    [[nodiscard]] bool IsFixed() const { return fixed_; }

private:
    friend class TBuffer;

    // Returns false if the capacity would exceed 4 GiB - 1 or the block is fixed.
    [[nodiscard]] bool MakeRoom(std::uint64_t end);

    const std::byte* data_ = nullptr;
    std::uint32_t position_ = 0;
    std::uint32_t capacity_ = 0;
    std::uint32_t length_ = 0;  // the highest position written
    std::uint32_t growthStep_ = 0;
    bool fixed_ = false;
    std::unique_ptr<std::byte[]> memory_;
    std::uint64_t allocated_ = 0;  // at least the capacity; grows in proportion to what it holds
};

class TBuffer final : public TStream {
public:
    explicit TBuffer(TBufferBlock& borrowed) : block_(&borrowed) {}
    explicit TBuffer(std::unique_ptr<TBufferBlock> owned)
        : owned_(std::move(owned)), block_(owned_.get()) {}

    bool Truncate() override;
    [[nodiscard]] std::uint32_t Tell() const override { return block_->position_ - Unread(); }
    [[nodiscard]] bool IsOpen() const override { return true; }
    // Writes all or nothing: returns 0 for a fixed block, and if the end would exceed 4 GiB - 1.
    std::uint32_t Write(const void* bytes, std::uint32_t count) override;
    std::uint32_t ReadRaw(void* bytes, std::uint32_t count) override;
    // Clamps the position to 0 and the capacity; never fails.
    bool Seek(std::int64_t offset, SeekFrom origin) override;
    [[nodiscard]] bool IsEOF() override { return Tell() >= block_->length_; }

    [[nodiscard]] const TBufferBlock& Block() const { return *block_; }

private:
    std::unique_ptr<TBufferBlock> owned_;
    TBufferBlock* block_;
};

}  // namespace Vorn
