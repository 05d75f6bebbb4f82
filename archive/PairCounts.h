// How often each pair of neighbours occurs in a sub-block of the byte-pair codec.
//
// The slot of a pair decides among pairs of equal counts, so it is part of the format: it is the
// first one free at or after the pair's home slot when the pair first occurs. A slot stays with
// its pair until Clear. Counts stop at 255.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace archive {

class PairCounts {
public:
    static constexpr std::size_t kSlots = 4096;
    static constexpr std::size_t kFewestOccurrences = 3;  // for a pair to be worth a code

    void Clear() {
        counts_.fill(0);
        free_.fill(~std::uint64_t{0});
        claimed_ = 0;
        best_ = kMostCounted;
        cursor_ = kSlots;
    }

    // Gives a pair that has none yet its slot. It must then be raised.
    std::size_t Claim(std::uint8_t first, std::uint8_t second) {
        const std::size_t slot = NextFree(HomeSlot(first, second));
        pairs_[slot] = static_cast<std::uint16_t>(first | second << 8);
        free_[slot / 64] &= ~(std::uint64_t{1} << slot % 64);
        ++claimed_;
        return slot;
    }

    void Raise(std::size_t slot) {
        const std::size_t count = counts_[slot] + (counts_[slot] < kMostCounted ? 1U : 0U);
        counts_[slot] = static_cast<std::uint8_t>(count);
        if (count >= best_) NoteHigh(slot, count);
    }

    // The count of a pair that has occurred never falls to 0, which would free its slot.
    void Lower(std::size_t slot) {
        counts_[slot] = static_cast<std::uint8_t>(counts_[slot] - (counts_[slot] > 1 ? 1 : 0));
    }

    void Retire(std::size_t slot) { counts_[slot] = 1; }

    // Returns the lowest slot among those with the highest count, or kSlots when no pair occurs
    // often enough to be worth a code.
    std::size_t FindBest();

    // Returns whether two more pairs leave a free slot, which ends every probe. No known content
    // needs that many pairs, but no content may make a probe loop indefinitely.
    [[nodiscard]] bool HasRoomForTwo() const { return claimed_ + 2 < kSlots; }

    [[nodiscard]] std::uint8_t First(std::size_t slot) const {
        return static_cast<std::uint8_t>(pairs_[slot] & 0xFF);
    }
    [[nodiscard]] std::uint8_t Second(std::size_t slot) const {
        return static_cast<std::uint8_t>(pairs_[slot] >> 8);
    }

private:
    static constexpr std::size_t kMostCounted = 255;

    static std::size_t HomeSlot(std::size_t first, std::size_t second) {
        return (first ^ second << 5) % kSlots;
    }

    [[nodiscard]] std::size_t NextFree(std::size_t slot) const {
        std::uint64_t bits = free_[slot / 64] >> slot % 64 << slot % 64;
        std::size_t word = slot / 64;
        while (bits == 0) {
            word = (word + 1) % free_.size();
            bits = free_[word];
        }
        return word * 64 + static_cast<std::size_t>(std::countr_zero(bits));
    }

    void NoteHigh(std::size_t slot, std::size_t count) {
        cursor_ = count > best_ ? slot : std::min(cursor_, slot);
        best_ = count;
    }

    [[nodiscard]] std::size_t HighestCount() const;
    bool FindFromCursor();

    alignas(64) std::array<std::uint8_t, kSlots> counts_;
    std::array<std::uint16_t, kSlots> pairs_;  // first byte low, second byte high
    std::array<std::uint64_t, kSlots / 64> free_;
    std::size_t claimed_ = 0;

    // No count is above best_, and none before cursor_ equals it. Counts mostly fall, so the search
    // for the next pair continues where the last one ended.
    std::size_t best_ = kMostCounted;
    std::size_t cursor_ = kSlots;
};

}  // namespace archive
