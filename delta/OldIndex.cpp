#include "delta/OldIndex.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace vdiff {
namespace {

constexpr std::uint64_t kMegabyte = 1U << 20;

std::uint64_t Load64(const std::uint8_t* at) {
    std::uint64_t value = 0;
    std::memcpy(&value, at, sizeof value);
    if constexpr (std::endian::native == std::endian::big) value = __builtin_bswap64(value);
    return value;
}

}  // namespace

OldIndex::Shape OldIndex::ShapeFor(std::uint64_t oldSize) {
    if (oldSize <= kMegabyte) return {12, 1};
    if (oldSize <= 64 * kMegabyte) return {24, 8};
    if (oldSize <= 1024 * kMegabyte) return {32, 32};
    return {64, 64};
}

// Both branches take whole words, the last one overlapping: keys are 12 bytes or a multiple of 8.
std::size_t OldIndex::Slot(const std::uint8_t* key) const {
    constexpr std::uint64_t kMix = 0x9e3779b97f4a7c15U;
    std::uint64_t hash = 0;
    for (std::size_t i = 0; i + 8 <= shape_.keySize; i += 8) {
        hash = std::rotl((hash ^ Load64(key + i)) * kMix, 29);
    }
    hash = (hash ^ Load64(key + shape_.keySize - 8)) * kMix;
    return static_cast<std::size_t>(hash >> hashShift_);
}

OldIndex::OldIndex(ByteView oldFile) : shape_(ShapeFor(oldFile.size())) {
    const std::size_t count =
        oldFile.size() < shape_.keySize ? 0 : (oldFile.size() - shape_.keySize) / shape_.step + 1;
    const int hashBits = std::max(4, static_cast<int>(std::bit_width(count)));
    hashShift_ = 64 - hashBits;
    heads_.assign(std::size_t{1} << hashBits, kNone);
    previous_.resize(count);
    std::size_t lastSlot = heads_.size();
    for (std::size_t number = 0; number < count; ++number) {
        const std::size_t slot = Slot(oldFile.data() + number * shape_.step);
        // Of a run of equal keys (padding, silence) only the first is worth a candidate.
        if (slot == lastSlot) continue;
        lastSlot = slot;
        previous_[number] = heads_[slot];
        heads_[slot] = static_cast<std::uint32_t>(number);
    }
}

}  // namespace vdiff
