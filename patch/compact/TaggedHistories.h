#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "delta/HistoryTable.h"

namespace patch::compact {

// A table for delta::MixedModel that knows which context owns each line: a context that finds the
// line of another one clears it. Many members fill one table in turn, and without this, contexts
// that no longer occur would predict for those that collide with them.
//
// The owner is in the line itself, so that a look-up misses the cache once: the nodes of a line are
// 1 to 15, which leaves its first number free.
class TaggedHistories {
public:
    static constexpr std::size_t kLine = delta::HistoryTable::kLine;

    // Clears the table and sets its length to 2^`bits` histories.
    void Clear(int bits) {
        lines_.assign((std::size_t{1} << bits) / kLine, Line(0));
        shift_ = 32 - bits;
    }

    // Returns the index of the line that `hash` selects, ready for use.
    std::uint32_t Find(std::uint32_t hash) {
        const std::uint32_t at = hash >> shift_ & ~std::uint32_t{kLine - 1};
        Line& line = lines_[at / kLine];
        if (line.owner != hash) {
            line = Line(hash);
        }
        return at;
    }

    std::uint32_t& operator[](std::uint32_t at) {
        return lines_[at / kLine].histories[at % kLine - 1];
    }

    [[nodiscard]] std::uint64_t MemoryHeld() const noexcept {
        return lines_.capacity() * sizeof(Line);
    }

private:
    struct alignas(kLine * sizeof(std::uint32_t)) Line {
        std::uint32_t owner;  // the hash of the context that used the line last
        std::array<std::uint32_t, kLine - 1> histories{};

        explicit Line(std::uint32_t hash) : owner(hash) { histories.fill(delta::history::kUnseen); }
    };

    std::vector<Line> lines_;
    int shift_ = 0;
};

}  // namespace patch::compact
