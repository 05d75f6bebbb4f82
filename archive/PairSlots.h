// Find the slot of a pair in PairCounts without a probe, for the two ways in which the encoder
// meets pairs.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "archive/BorderLists.h"

namespace archive {

// The slots of the pairs of content bytes in a sub-block.
class ContentSlots {
public:
    static constexpr std::size_t kNone = 0xFFFF;

    ContentSlots() { slots_.fill(kNone); }

    // Resets only the pairs that occurred: there are 65,536 slots, and up to 2,047 pairs.
    void Clear() {
        for (std::size_t i = 0; i < count_; ++i) slots_[pairs_[i]] = kNone;
        count_ = 0;
    }

    [[nodiscard]] std::size_t Find(std::uint8_t first, std::uint8_t second) const {
        return slots_[PairOf(first, second)];
    }

    void Set(std::uint8_t first, std::uint8_t second, std::size_t slot) {
        pairs_[count_++] = PairOf(first, second);
        slots_[PairOf(first, second)] = static_cast<std::uint16_t>(slot);
    }

private:
    static std::uint16_t PairOf(std::uint8_t first, std::uint8_t second) {
        return static_cast<std::uint16_t>(first | second << 8);
    }

    std::array<std::uint16_t, 65536> slots_;
    std::array<std::uint16_t, BorderLists::kMostPlaces> pairs_;
    std::size_t count_ = 0;
};

// The slots of the pairs that the newest code forms with its neighbours on one side.
class NeighbourSlots {
public:
    void Clear() { entries_.fill({.slot = 0, .code = kNoCode}); }
    void Begin(std::uint8_t code) { code_ = code; }

    [[nodiscard]] bool Has(std::uint8_t neighbour) const {
        return entries_[neighbour].code == code_;
    }
    [[nodiscard]] std::size_t Find(std::uint8_t neighbour) const {
        return entries_[neighbour].slot;
    }
    void Set(std::uint8_t neighbour, std::size_t slot) {
        entries_[neighbour] = {.slot = static_cast<std::uint16_t>(slot), .code = code_};
    }

private:
    static constexpr std::uint16_t kNoCode = 256;

    struct Entry {
        std::uint16_t slot;
        std::uint16_t code;  // the entries of older codes are void
    };

    std::array<Entry, 256> entries_;
    std::uint16_t code_ = kNoCode;
};

}  // namespace archive
