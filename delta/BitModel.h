#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "delta/Bytes.h"

// Models that learn how likely the next bit is. All arithmetic is in integers, so that the encoder
// and the decoder agree on every machine.
namespace vdiff {

// What one context has seen: a probability that moves fast at first and slower as it gets used.
class BitHistory {
public:
    BitHistory() = default;
    explicit BitHistory(std::uint32_t probability) : state_(probability << 16) {}

    // Of a 1, in 1/65536.
    [[nodiscard]] std::uint32_t Probability() const noexcept { return state_ >> 16; }
    [[nodiscard]] std::uint32_t Count() const noexcept { return state_ & 0x3ffU; }

    void Learn(bool bit, std::uint32_t maxCount);

private:
    // Probability in the upper 22 bits, times seen in the lower 10.
    std::uint32_t state_ = 1U << 31;
};

namespace detail {

constexpr int kStretchLimit = 2047;  // ln(p / (1 - p)) in 1/256

// 65536 / (1 + e^(-x/256)) for x from -2047 to 2047, by repeated multiplication with e^(-1/256).
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

// The inverse of kSquash, by the upper 12 bits of the probability.
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

// One number for the values that make up a context.
inline std::uint32_t HashContext(std::initializer_list<std::uint32_t> values) {
    std::uint32_t hash = 0;
    for (const std::uint32_t value : values) {
        hash = (hash ^ value) * 0x9e3779b1U;
        hash ^= hash >> 15;
    }
    return hash;
}

// Predicts bits from several contexts at once, and learns which of them to trust.
class MixedModel {
public:
    // `tableBits`: binary logarithm of the number of histories that the contexts share. They are
    // made when the first context is set.
    MixedModel(std::size_t inputs, std::size_t weightSets, int tableBits);

    // The contexts of up to four bits to come, one an input, well mixed; and which weights to use.
    void SetContexts(const std::uint32_t* hashes, std::size_t weightSet);
    // The same contexts for up to four bits more, after `bits`.
    void Continue(std::uint32_t bits);

    // The probability of a 1 as the next bit. `node`, 1 to 15, tells the bits since apart.
    std::uint32_t Predict(std::uint32_t node);
    void Learn(bool bit);

private:
    static constexpr std::size_t kMaxInputs = 12;

    std::size_t inputs_;
    int tableBits_;
    std::vector<BitHistory> histories_;
    std::vector<std::int32_t> weights_;  // one a set and input, 65536 is 1
    std::array<std::uint32_t, kMaxInputs> contexts_{};
    // Nodes of one context share a line of the processor's cache.
    std::array<std::uint32_t, kMaxInputs> lines_{};
    std::int32_t* currentWeights_;
    std::array<BitHistory*, kMaxInputs> current_{};
    std::array<std::int32_t, kMaxInputs> stretched_{};
    std::uint32_t predicted_ = 0;
};

// Codes eight bits with `model`, most significant first, four in a line.
template <typename Coder>
std::uint8_t CodeByte(Coder& coder, MixedModel& model, std::uint8_t value) {
    std::uint32_t coded = 1;
    for (int i = 7; i >= 0; --i) {
        if (i == 3) model.Continue(coded);
        const std::uint32_t node = i > 3 ? coded : (coded & (0xfU >> (i + 1))) | 0x10U >> (i + 1);
        const bool bit = coder.Code((value >> i & 1) != 0, model.Predict(node));
        model.Learn(bit);
        coded = coded << 1 | (bit ? 1U : 0U);
    }
    return static_cast<std::uint8_t>(coded);
}

// Numbers of any size: their bit width first, then the bits below the top one; the highest two of
// those are learnt as well.
class NumberModel {
public:
    NumberModel() {
        // Sizes of 2^16 and 2^32 and more are rare.
        width_[1] = BitHistory(1U << 10);
        width_[2] = BitHistory(1U << 13);
    }

    template <typename Coder>
    std::uint64_t Code(Coder& coder, std::uint64_t value) {
        const int width = CodeWidth(coder, static_cast<int>(std::bit_width(value)));
        std::uint64_t coded = width == 0 ? 0 : 1;
        for (int i = width - 2; i >= 0; --i) {
            const bool bit = (value >> i & 1) != 0;
            BitHistory even;
            BitHistory& history =
                coded < 4 ? lower_.at(static_cast<std::size_t>(width)).at(coded) : even;
            coded = coded << 1 | (CodeBit(coder, history, bit) ? 1U : 0U);
        }
        return coded;
    }

private:
    static constexpr std::uint32_t kMaxCount = 60;

    template <typename Coder>
    static bool CodeBit(Coder& coder, BitHistory& history, bool bit) {
        const std::uint32_t p = history.Probability();
        bit = coder.Code(bit, p < 32 ? 32 : p);
        history.Learn(bit, kMaxCount);
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
    std::array<std::array<BitHistory, 4>, 64> lower_{};  // by width and bits so far
};

}  // namespace vdiff
