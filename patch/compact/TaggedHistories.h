#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "delta/HistoryTable.h"

namespace patch::compact {

// A table for delta::MixedModel that remembers whose each line is: a context that finds the line of
// another one forgets what that learnt. In a table that many members fill one after another,
// contexts that no longer come up would otherwise speak for those that collide with them.
class TaggedHistories {
public:
    static constexpr std::size_t kLine = delta::HistoryTable::kLine;

    // Forgets everything; from now on there are 2^`bits` histories.
    void Clear(int bits) {
        histories_.assign(std::size_t{1} << bits, delta::history::kUnseen);
        owners_.assign(histories_.size() / kLine, 0);
        shift_ = 32 - bits;
    }

    // Returns the number of the history that `hash` selects, with its line ready for use.
    std::uint32_t Find(std::uint32_t hash) {
        const std::uint32_t at = hash >> shift_;
        std::uint32_t& owner = owners_[at / kLine];
        if (owner != hash) {
            owner = hash;
            std::fill_n(&histories_[at / kLine * kLine], kLine, delta::history::kUnseen);
        } else {
            // All lines of a prediction are requested before the first is read.
            __builtin_prefetch(&histories_[at]);
        }
        return at;
    }

    std::uint32_t& operator[](std::uint32_t at) { return histories_[at]; }

    [[nodiscard]] std::uint64_t MemoryHeld() const noexcept {
        return (histories_.capacity() + owners_.capacity()) * sizeof(std::uint32_t);
    }

private:
    std::vector<std::uint32_t> histories_;
    std::vector<std::uint32_t> owners_;  // the hash that had each line last
    int shift_ = 0;
};

}  // namespace patch::compact
