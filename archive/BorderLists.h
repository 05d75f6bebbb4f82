// Keeps, for each slot of PairCounts, the borders at which its pair occurs in a sub-block of the
// byte-pair codec.
//
// A border lies before each symbol but the first; its number is that symbol's first place. Lists
// are in the order of Append, which is rising: the borders of a pair are added while a new code
// replaces its own pair from left to right.
#pragma once

#include <array>
#include <cstdint>

#include "archive/PairCounts.h"

namespace archive {

class BorderLists {
public:
    static constexpr std::size_t kMostPlaces = 2048;
    static constexpr std::size_t kNone = kMostPlaces;

    // Makes `border` the only one of a list.
    void Start(std::size_t slot, std::size_t border) {
        const std::size_t head = HeadOf(slot);
        next_[head] = previous_[head] = static_cast<std::uint16_t>(border);
        next_[border] = previous_[border] = static_cast<std::uint16_t>(head);
        slots_[border] = static_cast<std::uint16_t>(slot);
    }

    void Append(std::size_t slot, std::size_t border) {
        const std::size_t head = HeadOf(slot);
        const std::uint16_t last = previous_[head];
        next_[last] = previous_[head] = static_cast<std::uint16_t>(border);
        next_[border] = static_cast<std::uint16_t>(head);
        previous_[border] = last;
        slots_[border] = static_cast<std::uint16_t>(slot);
    }

    void Remove(std::size_t border) {
        const std::uint16_t next = next_[border];
        const std::uint16_t previous = previous_[border];
        next_[previous] = next;
        previous_[next] = previous;
    }

    [[nodiscard]] std::size_t SlotOf(std::size_t border) const { return slots_[border]; }

    // Return the first border of a list, and the one after `border`; kNone or more at the end.
    [[nodiscard]] std::size_t First(std::size_t slot) const { return next_[HeadOf(slot)]; }
    [[nodiscard]] std::size_t Next(std::size_t border) const { return next_[border]; }

private:
    // The links of the heads follow those of the borders, and close each list to a ring: Append and
    // Remove need no test for an end.
    static std::size_t HeadOf(std::size_t slot) { return kMostPlaces + slot; }

    std::array<std::uint16_t, kMostPlaces + PairCounts::kSlots> next_;
    std::array<std::uint16_t, kMostPlaces + PairCounts::kSlots> previous_;
    std::array<std::uint16_t, kMostPlaces> slots_;
};

}  // namespace archive
