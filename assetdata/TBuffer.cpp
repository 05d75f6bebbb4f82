#include "assetdata/TBuffer.h"

#include <algorithm>
#include <limits>

#include "assetdata/NorvaneEx.h"

namespace Vorn {
namespace {

constexpr std::uint64_t kMostBytes = std::numeric_limits<std::uint32_t>::max();

}  // namespace

TBufferBlock::TBufferBlock(std::uint32_t growthStep) : growthStep_(growthStep) {
    if (growthStep == 0) throw NorvaneEx("assetdata/TBuffer", __LINE__);
}

TBufferBlock::TBufferBlock(std::span<const std::byte> content)
    : data_(content.data()), fixed_(true) {
    if (content.size() > kMostBytes) throw NorvaneEx("assetdata/TBuffer", __LINE__);
    capacity_ = length_ = static_cast<std::uint32_t>(content.size());
}

bool TBufferBlock::MakeRoom(std::uint64_t end) {
    if (fixed_) return false;
    if (end <= capacity_) return true;
    // The capacity, which bounds Seek, grows by the caller's step. The memory at least doubles, so
    // that many small writes take linear time.
    const std::uint64_t capacity = (end + growthStep_ - 1) / growthStep_ * growthStep_;
    if (capacity > kMostBytes) return false;
    if (capacity > allocated_) {
        const std::uint64_t wanted = std::max(capacity, std::min(allocated_ * 2, kMostBytes));
        auto memory = std::make_unique_for_overwrite<std::byte[]>(wanted);
        std::copy_n(memory_.get(), length_, memory.get());
        memory_ = std::move(memory);
        allocated_ = wanted;
        data_ = memory_.get();
    }
    capacity_ = static_cast<std::uint32_t>(capacity);
    return true;
}

bool TBuffer::Truncate() {
    EmptyBuffer();
    block_->length_ = 0;
    block_->position_ = 0;
    return !block_->fixed_;
}

std::uint32_t TBuffer::Write(const void* bytes, std::uint32_t count) {
    DiscardReadAhead();
    const std::uint64_t end = std::uint64_t{block_->position_} + count;
    if (!block_->MakeRoom(end)) return 0;
    std::byte* memory = block_->memory_.get();
    if (block_->position_ > block_->length_) {  // a Seek went past the end: the gap reads as zeros
        std::fill(memory + block_->length_, memory + block_->position_, std::byte{0});
    }
    std::copy_n(static_cast<const std::byte*>(bytes), count, memory + block_->position_);
    block_->position_ = static_cast<std::uint32_t>(end);
    block_->length_ = std::max(block_->length_, block_->position_);
    return count;
}

std::uint32_t TBuffer::ReadRaw(void* bytes, std::uint32_t count) {
    if (block_->position_ >= block_->length_) return 0;
    const std::uint32_t read = std::min(count, block_->length_ - block_->position_);
    std::copy_n(block_->data_ + block_->position_, read, static_cast<std::byte*>(bytes));
    block_->position_ += read;
    return read;
}

bool TBuffer::Seek(std::int64_t offset, SeekFrom origin) {
    std::int64_t target = offset;
    if (origin == SeekFrom::Current) target = Tell() + offset;
    if (origin == SeekFrom::End) target = block_->length_ - offset;
    block_->position_ =
        static_cast<std::uint32_t>(std::clamp<std::int64_t>(target, 0, block_->capacity_));
    EmptyBuffer();
    return true;
}

}  // namespace Vorn
