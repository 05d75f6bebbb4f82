// Adaptive models that estimate the probability of the next bit.
//
// Several contexts (the bytes before, the bytes at the same offset of the old file, ...) each keep
// a history of the bits that followed them (HistoryTable). A mixer adds up their predictions,
// weighted by how often each was right so far. The range coder spends few bits on a bit that was
// predicted well. Encoder and decoder learn from the same bits in the same order, so their
// predictions are equal.
//
// All arithmetic uses integers, because floating point may differ between machines. Everything is
// inline: a byte takes eight predictions from up to nine histories each, and calls would cost as
// much as the work.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <initializer_list>

#include "delta/Bytes.h"
#include "delta/ModelConstants.h"

namespace delta {

namespace detail {

// Returns 65536 / (n + 1.5) for each n: how far the n-th bit moves a probability. The result stays
// close to the mean of the bits seen but never reaches 0 or 1: after a first 1 it is 5/6.
constexpr std::array<std::uint32_t, 1024> MakeRates() {
    std::array<std::uint32_t, 1024> rates{};
    for (std::uint32_t n = 0; n < rates.size(); ++n) rates.at(n) = 131072 / (2 * n + 3);
    return rates;
}

constexpr auto kRates = MakeRates();

// Predictions are added in the logistic domain, as ln(p / (1 - p)) in units of 1/256 ("stretched"),
// where one confident prediction outweighs many undecided ones. The limit corresponds to a
// probability of about 1 in 3000.
constexpr int kStretchLimit = 2047;

// Returns the inverse of the stretched form, 65536 / (1 + e^(-x/256)) for x from -2047 to 2047. It
// multiplies repeatedly by e^(-1/256), because std::exp may round differently elsewhere.
constexpr std::array<std::uint16_t, 2 * kStretchLimit + 1> MakeSquash() {
    constexpr std::uint64_t kOne = std::uint64_t{1} << 32;
    constexpr std::uint64_t kStep = 4278222805U;  // e^(-1/256) * 2^32
    std::array<std::uint16_t, 2 * kStretchLimit + 1> table{};
    std::uint64_t power = kOne;
    for (std::size_t x = 0; x <= kStretchLimit; ++x) {
        const std::uint64_t p = (kOne << 16) / (kOne + power);
        table.at(kStretchLimit + x) = static_cast<std::uint16_t>(p);
        table.at(kStretchLimit - x) = static_cast<std::uint16_t>(65536 - p);
        power = (power * kStep) >> 32;
    }
    return table;
}

constexpr auto kSquash = MakeSquash();

// The inverse of kSquash, indexed by the upper 12 bits of the probability.
constexpr std::array<std::int16_t, 4096> MakeStretch() {
    std::array<std::int16_t, 4096> table{};
    std::size_t x = 0;
    for (std::size_t p = 0; p < table.size(); ++p) {
        while (x + 1 < kSquash.size() && kSquash.at(x) < p * 16 + 8) ++x;
        table.at(p) = static_cast<std::int16_t>(static_cast<int>(x) - kStretchLimit);
    }
    return table;
}

constexpr auto kStretch = MakeStretch();

}  // namespace detail

// The probability that a context's next bit is 1. It moves fast at first, and slower the more bits
// it has seen.
class BitHistory {
public:
    BitHistory() = default;
    // Starts with this probability of a 1, in 1/65536.
    constexpr explicit BitHistory(std::uint32_t probability) : state_(probability << 16) {}

    // Returns a history that has seen no bit yet.
    static constexpr BitHistory Even() { return BitHistory(1U << 15); }

    // Returns the probability of a 1, in 1/65536.
    [[nodiscard]] std::uint32_t Probability() const noexcept { return state_ >> 16; }

    // Moves the probability towards `bit`. `maxCount` limits the count of bits seen, so the history
    // continues to adapt.
    void Learn(bool bit, std::uint32_t maxCount) {
        const std::uint32_t count = state_ & 0x3ffU;
        const std::int64_t target = bit ? (1 << 22) - 1 : 0;
        // Shift instead of divide: it rounds down, so a small probability continues to fall.
        const std::int64_t step =
            ((target - std::int64_t{state_ >> 10}) * std::int64_t{detail::kRates[count]}) >> 16;
        state_ += (static_cast<std::uint32_t>(step) << 10) + (count < maxCount ? 1U : 0U);
    }

private:
    // The probability in the upper 22 bits, the count of bits seen in the lower 10: one load.
    std::uint32_t state_;
};

// Returns a hash of the values that make up a context.
inline std::uint32_t HashContext(std::initializer_list<std::uint32_t> values) {
    std::uint32_t hash = 0;
    for (const std::uint32_t value : values) {
        hash = (hash ^ value) * 0x9e3779b1U;
        hash ^= hash >> 15;
    }
    return hash;
}

// Codes numbers of any size: the bit width first, then the bits below the top one. The width and
// the highest two of those bits are predicted; the others are close to random and cost a bit each.
class NumberModel {
public:
    NumberModel() {
        width_.fill(BitHistory::Even());
        for (auto& histories : lower_) histories.fill(BitHistory::Even());
        // Node 1 separates widths below 32 from the others, node 2 those below 16 from 16 to 31.
        width_[1] = BitHistory(models::kRareWidth32);
        width_[2] = BitHistory(models::kRareWidth16);
    }

    template <typename Coder>
    std::uint64_t Code(Coder& coder, std::uint64_t value) {
        const int width = CodeWidth(coder, static_cast<int>(std::bit_width(value)));
        std::uint64_t coded = width == 0 ? 0 : 1;
        for (int i = width - 2; i >= 0; --i) {
            const bool bit = (value >> i & 1) != 0;
            BitHistory even = BitHistory::Even();
            BitHistory& history =
                coded < 4 ? lower_.at(static_cast<std::size_t>(width)).at(coded) : even;
            coded = coded << 1 | (CodeBit(coder, history, bit) ? 1U : 0U);
        }
        return coded;
    }

private:
    template <typename Coder>
    static bool CodeBit(Coder& coder, BitHistory& history, bool bit) {
        const std::uint32_t p = history.Probability();
        bit = coder.Code(bit, p < models::kMinNumberBit ? models::kMinNumberBit : p);
        history.Learn(bit, models::kNumberLimit);
        return bit;
    }

    template <typename Coder>
    int CodeWidth(Coder& coder, int width) {
        std::size_t node = 1;
        for (int i = 5; i >= 0; --i) {
            node = node << 1 | (CodeBit(coder, width_.at(node), (width >> i & 1) != 0) ? 1U : 0U);
        }
        return static_cast<int>(node - 64);
    }

    std::array<BitHistory, 64> width_{};
    std::array<std::array<BitHistory, 4>, 64> lower_{};  // by width and the bits so far
};

}  // namespace delta
