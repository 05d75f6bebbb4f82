#include "delta/OldIndex.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace delta {
namespace {

constexpr std::uint64_t kMegabyte = 1U << 20;

std::uint64_t Load64(const std::uint8_t* at) {
    std::uint64_t value = 0;
    std::memcpy(&value, at, sizeof value);
    if constexpr (std::endian::native == std::endian::big) value = __builtin_bswap64(value);
    return value;
}

// Returns the shape without a memory limit. Short keys find more matches, but in a large file they
// also match by chance; and tables larger than the processor's caches cost more time than the
// matches that they add would save.
OldIndex::Shape UsualShape(std::uint64_t oldSize) {
    if (oldSize <= kMegabyte) return {12, 1};
    if (oldSize <= 64 * kMegabyte) return {24, 8};
    if (oldSize <= 1024 * kMegabyte) return {32, 32};
    return {64, 64};
}

std::size_t KeyCount(std::uint64_t oldSize, OldIndex::Shape shape) {
    return oldSize < shape.keySize ? 0 : (oldSize - shape.keySize) / shape.step + 1;
}

int HashBits(std::size_t keyCount) {
    return std::max(4, static_cast<int>(std::bit_width(keyCount)));
}

}  // namespace

std::uint64_t OldIndex::Memory(std::uint64_t oldSize, Shape shape) {
    const std::size_t count = KeyCount(oldSize, shape);
    return ((std::uint64_t{1} << HashBits(count)) + count) * sizeof(std::uint32_t);
}

std::optional<OldIndex::Shape> OldIndex::ShapeFor(std::uint64_t oldSize,
                                                  std::uint64_t memoryLimit) {
    // Matches shorter than a step are found by chance only, so longer steps would find hardly any.
    constexpr std::size_t kMaxStep = 4096;
    for (Shape shape = UsualShape(oldSize); shape.step <= kMaxStep; shape.step *= 2) {
        if (Memory(oldSize, shape) <= memoryLimit) return shape;
    }
    return std::nullopt;
}

// Hashes whole words; the last one may overlap the one before, since a key has 12 bytes or a
// multiple of 8.
std::size_t OldIndex::Slot(const std::uint8_t* key) const {
    constexpr std::uint64_t kMix = 0x9e3779b97f4a7c15U;
    std::uint64_t hash = 0;
    for (std::size_t i = 0; i + 8 <= shape_.keySize; i += 8) {
        hash = std::rotl((hash ^ Load64(key + i)) * kMix, 29);
    }
    hash = (hash ^ Load64(key + shape_.keySize - 8)) * kMix;
    return static_cast<std::size_t>(hash >> hashShift_);
}

void OldIndex::Begin(std::uint64_t mostBytes, Shape shape) {
    shape_ = shape;
    const std::size_t count = KeyCount(mostBytes, shape);
    hashShift_ = 64 - HashBits(count);
    heads_.assign(std::size_t{1} << HashBits(count), kNone);
    previous_.clear();
    previous_.reserve(count);
    lastSlot_ = heads_.size();
}

void OldIndex::Extend(ByteView oldFile) {
    const std::size_t count = KeyCount(oldFile.size(), shape_);
    std::size_t number = previous_.size();
    previous_.resize(count);
    for (; number < count; ++number) {
        const std::size_t slot = Slot(oldFile.data() + number * shape_.step);
        // Keep only the first of a run of equal keys (padding, silence): the others would fill the
        // list of candidates with equivalent ones.
        if (slot == lastSlot_) continue;
        lastSlot_ = slot;
        previous_[number] = heads_[slot];
        heads_[slot] = static_cast<std::uint32_t>(number);
    }
}

}  // namespace delta
