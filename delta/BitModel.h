#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <new>
#include <vector>

#include "delta/Bytes.h"
#include "delta/ModelConstants.h"

// Models that learn how likely the next bit is.
//
// Several contexts (the bytes before, the bytes at the same place of the old file, ...) each keep a
// history of the bits that followed them. A mixer adds up their opinions, weighted by how often
// each was right so far, and the range coder spends as few bits as the mix is sure. Encoder and
// decoder learn from the same bits in the same order, so that they predict the same.
//
// All arithmetic is in integers: floating point need not give the same bits on every machine.
// Everything is inline: a byte takes eight predictions from up to nine histories each, and calls
// would cost as much as the work.
namespace delta {

namespace detail {

// 65536 / (n + 1.5): how far the n-th bit moves a probability. Close to the mean of the n bits
// seen, but never quite sure: after a first 1 it is 5/6.
constexpr std::array<std::uint32_t, 1024> MakeRates() {
    std::array<std::uint32_t, 1024> rates{};
    for (std::uint32_t n = 0; n < rates.size(); ++n) rates.at(n) = 131072 / (2 * n + 3);
    return rates;
}

constexpr auto kRates = MakeRates();

// Opinions are added as ln(p / (1 - p)), "stretched", in 1/256: there a sure opinion outweighs many
// undecided ones, as it should. The limit stands for probabilities of about 1 in 3000.
constexpr int kStretchLimit = 2047;

// The way back from the stretched form: 65536 / (1 + e^(-x/256)) for x from -2047 to 2047, by
// repeated multiplication with e^(-1/256).
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

// The bits that followed one context: a probability that moves fast at first and slower the more
// bits it has seen. Uninitialised by default, for tables that set up their histories on first use.
class BitHistory {
public:
    BitHistory() = default;
    // Starts with this probability of a 1, in 1/65536.
    constexpr explicit BitHistory(std::uint32_t probability) : state_(probability << 16) {}

    // Returns a history that has seen nothing.
    static constexpr BitHistory Even() { return BitHistory(1U << 15); }

    // Returns the probability of a 1, in 1/65536.
    [[nodiscard]] std::uint32_t Probability() const noexcept { return state_ >> 16; }

    // Returns ln(p / (1 - p)) in 1/256, and 0 if it has seen nothing. Without a branch: the
    // processor would often mispredict it, and could resolve it only when the history has come from
    // memory.
    [[nodiscard]] std::int32_t Stretched() const noexcept {
        const std::int32_t seen = (state_ & 0x3ffU) != 0 ? -1 : 0;
        return detail::kStretch[state_ >> 20] & seen;
    }

    // Moves the probability towards `bit`. `maxCount` bounds the count of bits seen, so that the
    // history keeps following changes.
    void Learn(bool bit, std::uint32_t maxCount) {
        const std::uint32_t count = state_ & 0x3ffU;
        const std::int64_t target = bit ? (1 << 22) - 1 : 0;
        // Shifting rounds down where dividing would round to 0: a small probability keeps falling.
        const std::int64_t step =
            ((target - std::int64_t{state_ >> 10}) * std::int64_t{detail::kRates[count]}) >> 16;
        state_ += (static_cast<std::uint32_t>(step) << 10) + (count < maxCount ? 1U : 0U);
    }

private:
    // The probability in the upper 22 bits, the count of bits seen in the lower 10: one load.
    std::uint32_t state_;
};

// Returns one number for the values that make up a context.
inline std::uint32_t HashContext(std::initializer_list<std::uint32_t> values) {
    std::uint32_t hash = 0;
    for (const std::uint32_t value : values) {
        hash = (hash ^ value) * 0x9e3779b1U;
        hash ^= hash >> 15;
    }
    return hash;
}

// Histories by hash, in groups of 16 that fill a cache line: a context uses one line for four bits,
// so that it waits for memory twice a byte. Contexts may collide; the mixer learns to distrust
// them.
//
// Clearing costs one bit for each line. A line is set up on first use, so that a small file does
// not pay for a table that is large enough for its contexts to rarely collide.
class HistoryTable {
public:
    static constexpr std::size_t kLine = 16;

    // Forgets everything; from now on there are 2^`bits` histories.
    void Clear(int bits) {
        const std::size_t size = std::size_t{1} << bits;
        if (size > capacity_) {
            histories_.reset(static_cast<BitHistory*>(
                ::operator new[](size * sizeof(BitHistory), std::align_val_t{kAlignment})));
            capacity_ = size;
        }
        shift_ = 32 - bits;
        made_.assign(size / kLine / 64 + 1, 0);
    }

    // Returns the number of the history that `hash` selects, with its line ready for use.
    std::uint32_t Find(std::uint32_t hash) {
        const std::uint32_t at = hash >> shift_;
        std::uint64_t& word = made_[at / kLine / 64];
        const std::uint64_t bit = std::uint64_t{1} << (at / kLine % 64);
        if ((word & bit) == 0) {
            word |= bit;
            const std::size_t first = at / kLine * kLine;
            for (std::size_t i = 0; i < kLine; ++i) histories_[first + i] = BitHistory::Even();
        } else {
            // All lines of a prediction are requested before the first is read.
            __builtin_prefetch(&histories_[at]);
        }
        return at;
    }

    BitHistory& operator[](std::uint32_t at) { return histories_[at]; }

    [[nodiscard]] std::uint64_t MemoryHeld() const noexcept {
        return capacity_ * sizeof(BitHistory) + made_.capacity() * sizeof(std::uint64_t);
    }

    // Returns the bytes that a table of 2^`bits` histories takes.
    static constexpr std::uint64_t Memory(int bits) {
        const std::uint64_t size = std::uint64_t{1} << bits;
        return size * sizeof(BitHistory) + (size / kLine / 64 + 1) * sizeof(std::uint64_t);
    }

private:
    static constexpr std::size_t kAlignment = kLine * sizeof(BitHistory);

    struct Free {
        void operator()(BitHistory* histories) const {
            ::operator delete[](histories, std::align_val_t{kAlignment});
        }
    };

    std::unique_ptr<BitHistory[], Free> histories_;
    std::size_t capacity_ = 0;
    int shift_ = 0;
    std::vector<std::uint64_t> made_;  // one bit for each line: whether it is set up
};

// Predicts bits from several contexts at once, and learns which of them to trust: the weights of
// those that were right grow with each bit. Several sets of weights serve situations in which other
// contexts are right.
template <std::size_t kInputs, std::size_t kWeightSets>
class MixedModel {
public:
    using Contexts = std::array<std::uint32_t, kInputs>;

    // Forgets everything. `tableBits` is the binary logarithm of the number of histories that the
    // contexts share.
    void Clear(int tableBits) {
        // More than an equal share, see kWeightShare.
        constexpr auto kInitial =
            static_cast<std::int32_t>(std::size_t{models::kWeightOne} * models::kWeightShare /
                                      models::kWeightShareOf / (kInputs + 1));
        histories_.Clear(tableBits);
        for (auto& set : weights_) set.fill(kInitial);
    }

    [[nodiscard]] std::uint64_t MemoryHeld() const noexcept { return histories_.MemoryHeld(); }

    // Sets one hashed context for each input for the next four bits, and the weight set to use.
    void SetContexts(const Contexts& hashes, std::size_t weightSet) {
        contexts_ = hashes;
        set_ = weightSet;
        Continue(0);
    }

    // Keeps the contexts for the next four bits, which follow `bits`: each gets another line.
    void Continue(std::uint32_t bits) {
        for (std::size_t i = 0; i < kInputs; ++i) {
            lines_[i] = histories_.Find((contexts_[i] + bits * 0x9e3779b1U) * 0x85ebca6bU);
        }
    }

    // Returns the probability of a 1 as the next bit. `node`, 1 to 15, is a 1 followed by the bits
    // since SetContexts or Continue: a place in the context's line.
    std::uint32_t Predict(std::uint32_t node) {
        const std::array<std::int32_t, kInputs>& weights = weights_[set_];
        std::int64_t sum = 0;
        for (std::size_t i = 0; i < kInputs; ++i) {
            current_[i] = &histories_[lines_[i] ^ node];
            stretched_[i] = current_[i]->Stretched();
            sum += std::int64_t{weights[i]} * stretched_[i];
        }
        constexpr std::int64_t kLimit = detail::kStretchLimit;
        std::int64_t mixed = sum / models::kWeightOne;
        mixed = mixed < -kLimit ? -kLimit : mixed > kLimit ? kLimit : mixed;
        predicted_ = detail::kSquash[static_cast<std::size_t>(mixed + kLimit)];
        return predicted_;
    }

    // Learns the bit that Predict was asked for.
    void Learn(bool bit) {
        // Weights hardly ever leave their range, so that one test of the sign serves all of them.
        std::int32_t outside = 0;
        const std::int32_t error = (bit ? 65535 : 0) - static_cast<std::int32_t>(predicted_);
        std::array<std::int32_t, kInputs>& weights = weights_[set_];
        for (std::size_t i = 0; i < kInputs; ++i) {
            const std::int32_t moved =
                weights[i] + ((stretched_[i] * error) >> models::kLearningShift);
            weights[i] = moved;
            outside |= moved + models::kMaxWeight;
            outside |= models::kMaxWeight - moved;
        }
        if (outside < 0) Clamp(weights);
        // Two contexts that collide share a history, which then learns twice.
        for (std::size_t i = 0; i < kInputs; ++i) {
            current_[i]->Learn(bit, models::kMixedLimit);
        }
    }

private:
    static void Clamp(std::array<std::int32_t, kInputs>& weights) {
        for (std::int32_t& weight : weights) {
            weight = std::clamp(weight, -models::kMaxWeight, models::kMaxWeight);
        }
    }

    HistoryTable histories_;
    std::array<std::array<std::int32_t, kInputs>, kWeightSets> weights_{};
    Contexts contexts_{};
    std::array<std::uint32_t, kInputs> lines_{};
    std::array<std::int32_t, kInputs> stretched_{};
    std::size_t set_ = 0;
    std::array<BitHistory*, kInputs> current_{};
    std::uint32_t predicted_ = 0;
};

// Codes eight bits with `model`, most significant first, four with each line of histories.
template <typename Coder, typename Model>
std::uint8_t CodeByte(Coder& coder, Model& model, std::uint8_t value) {
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

// Codes numbers of any size: their bit width, then the bits below the top one. Widths and the
// highest two of those bits are learnt; the others are close to random and cost a bit each.
class NumberModel {
public:
    NumberModel() {
        width_.fill(BitHistory::Even());
        for (auto& histories : lower_) histories.fill(BitHistory::Even());
        // Node 1 decides between widths below and from 32, node 2 between those below and from 16.
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
