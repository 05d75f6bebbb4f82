#include "archive/PairCounts.h"

#include <cstring>

namespace archive {

// When no pair has the highest count any more, some pair usually has the next lower one. Looking
// for that first is cheaper than finding the highest of all counts.
std::size_t PairCounts::FindBest() {
    if (FindFromCursor()) return cursor_;
    cursor_ = 0;
    --best_;
    if (!FindFromCursor()) {
        best_ = HighestCount();
        FindFromCursor();
    }
    return best_ >= kFewestOccurrences ? cursor_ : kSlots;
}

// Plain loops over bytes, which the compiler turns into vector instructions. The columns are
// independent, so that no step waits for the one before.
std::size_t PairCounts::HighestCount() const {
    std::array<std::uint8_t, 64> columns{};
    for (std::size_t row = 0; row < kSlots; row += columns.size()) {
        for (std::size_t i = 0; i < columns.size(); ++i) {
            columns[i] = std::max(columns[i], counts_[row + i]);
        }
    }
    std::uint8_t highest = 0;
    for (const std::uint8_t count : columns) highest = std::max(highest, count);
    return highest;
}

bool PairCounts::FindFromCursor() {
    const void* found =
        std::memchr(counts_.data() + cursor_, static_cast<int>(best_), kSlots - cursor_);
    if (!found) return false;
    cursor_ = static_cast<std::size_t>(static_cast<const std::uint8_t*>(found) - counts_.data());
    return true;
}

}  // namespace archive
