// Bit histories of a mixing model: their layout, lookup and update.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "delta/BitModel.h"
#include "delta/Lanes.h"

namespace delta {

// A history of MixedModel in 32 bits. It moves as a BitHistory does, but is laid out for speed:
// bits 6 to 27 hold the probability of a 1, so the upper half is an index into the table of
// predictions. Bits 0 to 4 count the bits after which it stops slowing down.
namespace history {

// Set until the first bit. An unseen history predicts nothing, although its probability is 1/2.
constexpr std::uint32_t kUnseenFlag = 1U << 28;

constexpr std::uint32_t kUnseen = kUnseenFlag | 1U << 27 | models::kMixedLimit;
constexpr std::uint32_t kLeft = 31;
constexpr std::int32_t kCertain = (1 << 22) - 1;  // the highest probability
static_assert(models::kMixedLimit <= kLeft);

// Returns the prediction (see kStretch) for the upper half of each history; 0 with the flag. A
// table avoids a branch that the processor would often mispredict.
constexpr std::array<std::int16_t, std::size_t{2} * kUnseenFlag / 65536> MakeOpinions() {
    std::array<std::int16_t, std::size_t{2} * kUnseenFlag / 65536> opinions{};
    for (std::size_t i = 0; i < detail::kStretch.size(); ++i) opinions.at(i) = detail::kStretch[i];
    return opinions;
}

constexpr auto kOpinions = MakeOpinions();

// Returns the history after `bit`.
inline std::uint32_t Learnt(std::uint32_t state, bool bit) {
    const std::uint32_t left = state & kLeft;
    const std::int64_t probability = state >> 6 & static_cast<std::uint32_t>(kCertain);
    const std::int64_t step = (((bit ? kCertain : 0) - probability) *
                               std::int64_t{detail::kRates[models::kMixedLimit - left]}) >>
                              16;
    return (state & ~kUnseenFlag) + (static_cast<std::uint32_t>(step) << 6) - (left != 0 ? 1U : 0U);
}

// Returns four bits in one lane each, all ones for a 1, as LearntFour takes them.
inline Lanes BitMasks(std::uint32_t bits) {
    const Lanes places{8, 4, 2, 1};
    return ((static_cast<std::int32_t>(bits) & places) != 0);
}

// Returns the correction that LearntFour adds for a first bit: it reads the rate as a signed number
// of 16 bits, which only the first rate exceeds. The correction clears the flag as well.
constexpr std::int32_t FirstCorrection(bool bit) {
    const std::int32_t way = (bit ? kCertain : 0) - (1 << 21);
    return (way >> 10) * 65536 - static_cast<std::int32_t>(kUnseenFlag);
}

// Updates four histories with one bit each (see BitMasks), as Learnt does.
inline Lanes LearntFour(Lanes states, Lanes bits) {
    using Floats = float __attribute__((vector_size(16)));
    const Lanes left = states & static_cast<std::int32_t>(kLeft);
    // Computes kRates without four look-ups. No quotient is so close to an integer that the
    // rounding of the division matters.
    const Lanes divisors = 2 * models::kMixedLimit + 3 - (left + left);
    const Lanes rates =
        __builtin_convertvector(131072.0F / __builtin_convertvector(divisors, Floats), Lanes);
    // Keep probabilities in place, scaled by 64; the bits below are masked off at the end.
    const Lanes way = (bits & (kCertain * 64)) - (states & (kCertain * 64));
    // The product with a rate has up to 45 bits, so it is the sum of two partial products.
    const Lanes step = UpperProduct(way, rates) + SumOfProducts(way, rates << 16);
    const Lanes unseen = (states << 3) >> 31;
    const Lanes first =
        (bits & (FirstCorrection(true) ^ FirstCorrection(false))) ^ FirstCorrection(false);
    // A comparison yields -1: one bit fewer is left.
    return states + (left > 0) + (step & ~63) + (unseen & first);
}

}  // namespace history

// A hash table of histories in groups of 16 that fill a cache line. A context uses one line for
// four bits, so it misses the cache at most twice a byte. Contexts may collide; the mixer then
// lowers their weights.
//
// Clear only resets one bit for each line, and a line is set up on first use: a small file does not
// pay for a table that is large enough to make collisions rare.
class HistoryTable {
public:
    static constexpr std::size_t kLine = 16;

    // Clears the table and sets its length to 2^`bits` histories.
    void Clear(int bits) {
        const std::size_t size = std::size_t{1} << bits;
        if (size > capacity_) {
            histories_.reset(static_cast<std::uint32_t*>(
                ::operator new[](size * sizeof(std::uint32_t), std::align_val_t{kAlignment})));
            capacity_ = size;
        }
        shift_ = 32 - bits;
        made_.assign(size / kLine / 64 + 1, 0);
    }

    // Returns the index of the history that `hash` selects. Sets up its line on first use.
    std::uint32_t Find(std::uint32_t hash) {
        const std::uint32_t at = hash >> shift_;
        std::uint64_t& word = made_[at / kLine / 64];
        const std::uint64_t bit = std::uint64_t{1} << (at / kLine % 64);
        if ((word & bit) == 0) {
            word |= bit;
            std::fill_n(&histories_[at / kLine * kLine], kLine, history::kUnseen);
        } else {
            // The caller finds the lines of all its contexts before it reads one, so the cache
            // misses overlap.
            __builtin_prefetch(&histories_[at]);
        }
        return at;
    }

    std::uint32_t& operator[](std::uint32_t at) { return histories_[at]; }

    [[nodiscard]] std::uint64_t MemoryHeld() const noexcept {
        return capacity_ * sizeof(std::uint32_t) + made_.capacity() * sizeof(std::uint64_t);
    }

    // Returns the bytes that a table of 2^`bits` histories takes.
    static constexpr std::uint64_t Memory(int bits) {
        const std::uint64_t size = std::uint64_t{1} << bits;
        return size * sizeof(std::uint32_t) + (size / kLine / 64 + 1) * sizeof(std::uint64_t);
    }

private:
    static constexpr std::size_t kAlignment = kLine * sizeof(std::uint32_t);

    struct Free {
        void operator()(std::uint32_t* histories) const {
            ::operator delete[](histories, std::align_val_t{kAlignment});
        }
    };

    std::unique_ptr<std::uint32_t[], Free> histories_;
    std::size_t capacity_ = 0;
    int shift_ = 0;
    std::vector<std::uint64_t> made_;  // one bit for each line: set if the line is set up
};

}  // namespace delta
