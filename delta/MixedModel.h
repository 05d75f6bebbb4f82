// A model that mixes the predictions of several contexts.
#pragma once

#include <array>
#include <cstdint>
#include <type_traits>

#include "delta/HistoryTable.h"
#include "delta/Mixer.h"

namespace delta {

// Predicts bits from several contexts at once, and learns which of them to trust: with each bit the
// weights of the contexts that were right grow.
template <std::size_t kInputs, std::size_t kWeightSets, typename Table = HistoryTable>
class MixedModel {
public:
    using Contexts = std::array<std::uint32_t, kInputs>;

    // Resets the model. `tableBits` is the binary logarithm of the number of histories that
    // the contexts share.
    void Clear(int tableBits) {
        histories_.Clear(tableBits);
        mixer_.Clear();
        taught_ = false;
    }

    [[nodiscard]] std::uint64_t MemoryHeld() const noexcept { return histories_.MemoryHeld(); }

    // Sets one hashed context for each input for the next four bits, and the weight set to use.
    void SetContexts(const Contexts& hashes, std::size_t weightSet) {
        contexts_ = hashes;
        set_ = weightSet;
        FindLines(0);
    }

    // Codes one bit in the contexts that were set, and returns it.
    template <typename Coder>
    bool CodeBit(Coder& coder, bool bit) {
        typename Mix::Weights& weights = mixer_[set_];
        const bool nearLimit = Mix::NearLimit(weights);
        bit = CodeNode(coder, weights, nearLimit, 1, bit);
        LearnNode(1, bit);
        return bit;
    }

    // Codes eight bits, most significant first, and returns them. Each line of histories serves
    // four.
    template <typename Coder>
    std::uint8_t CodeByte(Coder& coder, std::uint8_t value) {
        const std::uint32_t high = CodeHalf(coder, value >> 4);
        FindLines(high);
        const std::uint32_t low = CodeHalf(coder, value & 0xfU);
        return static_cast<std::uint8_t>(high << 4 | (low & 0xfU));
    }

    // Learns eight bits without coding them. FinishTeaching must be called before the next coding.
    void Teach(std::uint8_t value) {
        TeachHalf(value >> 4);
        FindLines(0x10U | value >> 4);
        TeachHalf(value & 0xfU);
    }

    void FinishTeaching() {
        if (!taught_) return;
        taught_ = false;
        const Lesson& last = lessons_[latest_];
        typename Mix::Weights& weights = mixer_[last.set];
        const bool nearLimit = Mix::NearLimit(weights);
        for (std::size_t i = 0; i < 4; ++i) MixLesson(last, i, weights, nearLimit);
    }

private:
    using Mix = Mixer<kInputs, kWeightSets>;

    // Predictions of four known bits; the weights are not updated with them yet.
    struct Lesson {
        alignas(16) std::array<std::array<std::int32_t, 4 * Mix::kGroups>, 4> opinions{};
        std::uint32_t bits = 0;
        std::size_t set = 0;
    };

    // Finds the lines for the next four bits. `bits` holds those before them in the byte after a
    // leading 1; it is 0 at the start of a byte.
    void FindLines(std::uint32_t bits) {
        for (std::size_t i = 0; i < kInputs; ++i) {
            lines_[i] = histories_.Find((contexts_[i] + bits * 0x9e3779b1U) * 0x85ebca6bU);
        }
    }

    // Returns whether two contexts have the same line by chance. They may then share a history,
    // which must be updated twice for each bit, one bit at a time.
    [[nodiscard]] bool LinesCollide() const {
        std::array<Lanes, Mix::kGroups> numbers;
        for (std::size_t g = 0; g < Mix::kGroups; ++g) {
            // Unused lanes get negative numbers, which differ from every line and each other.
            const Lanes none{-1, -2, -3, -4};
            numbers[g] = none;
            for (std::size_t i = 0; i < 4 && 4 * g + i < kInputs; ++i) {
                numbers[g][i] = static_cast<std::int32_t>(lines_[4 * g + i] / Table::kLine);
            }
        }
        Lanes equal{};
        for (std::size_t g = 0; g < Mix::kGroups; ++g) {
            const Lanes& one = numbers[g];
            const Lanes turned1 = __builtin_shufflevector(one, one, 1, 2, 3, 0);
            const Lanes turned2 = __builtin_shufflevector(one, one, 2, 3, 0, 1);
            const Lanes turned3 = __builtin_shufflevector(one, one, 3, 0, 1, 2);
            equal |= (one == turned1) | (one == turned2);
            for (std::size_t h = 0; h < g; ++h) {
                const Lanes& other = numbers[h];
                equal |=
                    (other == one) | (other == turned1) | (other == turned2) | (other == turned3);
            }
        }
        return AnyLane(equal) != 0;
    }

    // Returns the prediction of a context. `node`, 1 to 15, is a 1 followed by the bits since
    // FindLines, and selects the history in the context's line.
    [[nodiscard]] std::int32_t Opinion(std::size_t input, std::uint32_t node) {
        if (input >= kInputs) return 0;
        return history::kOpinions[histories_[lines_[input] ^ node] >> 16];
    }

    template <typename Coder>
    [[gnu::always_inline]] bool CodeNode(Coder& coder, typename Mix::Weights& weights,
                                         bool nearLimit, std::uint32_t node, bool bit) {
        typename Mix::Opinions opinions;
        for (std::size_t g = 0; g < Mix::kGroups; ++g) {
            opinions[g] = Lanes{Opinion(4 * g, node), Opinion(4 * g + 1, node),
                                Opinion(4 * g + 2, node), Opinion(4 * g + 3, node)};
        }
        const std::uint32_t predicted = Mix::Mix(weights, opinions);
        bit = coder.Code(bit, predicted);
        Mix::Learn(weights, opinions, predicted, bit);
        if (nearLimit) Mix::Clamp(weights);
        return bit;
    }

    // Codes four bits. Returns a 1 followed by them.
    template <typename Coder>
    std::uint32_t CodeHalf(Coder& coder, std::uint32_t bits) {
        typename Mix::Weights weights = mixer_[set_];
        const bool nearLimit = Mix::NearLimit(weights);
        const bool collide = LinesCollide();
        std::uint32_t node = 1;
        for (int i = 3; i >= 0; --i) {
            const bool bit = CodeNode(coder, weights, nearLimit, node, (bits >> i & 1) != 0);
            if (collide) LearnNode(node, bit);
            node = node << 1 | (bit ? 1U : 0U);
        }
        mixer_[set_] = weights;
        if (!collide) {
            const Lanes masks = history::BitMasks(node);
            for (std::size_t i = 0; i < kInputs; ++i) LearnPath(i, node, masks, [](auto...) {});
        }
        return node;
    }

    void LearnNode(std::uint32_t node, bool bit) {
        for (const std::uint32_t line : lines_) {
            std::uint32_t& state = histories_[line ^ node];
            state = history::Learnt(state, bit);
        }
    }

    // Updates an input's histories with the four bits of `end`, which follow a leading 1. Calls
    // `note` with the four histories as they were before.
    template <typename Note>
    [[gnu::always_inline]] void LearnPath(std::size_t input, std::uint32_t end, Lanes bits,
                                          Note note) {
        const std::uint32_t line = lines_[input];
        std::uint32_t& first = histories_[line ^ 1U];
        std::uint32_t& second = histories_[line ^ end >> 3];
        std::uint32_t& third = histories_[line ^ end >> 2];
        std::uint32_t& fourth = histories_[line ^ end >> 1];
        note(first, second, third, fourth);
        const Lanes learnt = history::LearntFour(
            Lanes{static_cast<std::int32_t>(first), static_cast<std::int32_t>(second),
                  static_cast<std::int32_t>(third), static_cast<std::int32_t>(fourth)},
            bits);
        first = static_cast<std::uint32_t>(learnt[0]);
        second = static_cast<std::uint32_t>(learnt[1]);
        third = static_cast<std::uint32_t>(learnt[2]);
        fourth = static_cast<std::uint32_t>(learnt[3]);
    }

    // Learns four bits. Histories do not depend on the weights, but each update of the weights
    // depends on the one before. So the weights learn the previous four bits here, and the
    // processor overlaps both.
    void TeachHalf(std::uint32_t bits) {
        const Lesson& last = lessons_[latest_];
        Lesson& next = lessons_[latest_ ^ 1U];
        next.bits = bits;
        next.set = set_;
        const std::uint32_t end = 0x10U | bits;
        const bool collide = LinesCollide();
        if (collide || !taught_) {
            FinishTeaching();
            for (std::size_t b = 0; b < 4; ++b) {
                const std::uint32_t node = end >> (4 - b);
                for (std::size_t i = 0; i < kInputs; ++i) next.opinions[b][i] = Opinion(i, node);
                LearnNode(node, (end >> (3 - b) & 1) != 0);
            }
        } else {
            typename Mix::Weights weights = mixer_[last.set];
            const bool nearLimit = Mix::NearLimit(weights);
            const Lanes masks = history::BitMasks(bits);
            // kBit is a constant, so the compiler knows the range of i and unrolls the loop.
            const auto learnBit = [&]<std::size_t kBit>(std::integral_constant<std::size_t, kBit>) {
                for (std::size_t i = kInputs * kBit / 4; i < kInputs * (kBit + 1) / 4; ++i) {
                    LearnPath(i, end, masks, [&](auto... states) {
                        std::size_t place = 0;
                        ((next.opinions[place++][i] = history::kOpinions[states >> 16]), ...);
                    });
                }
                MixLesson(last, kBit, weights, nearLimit);
            };
            learnBit(std::integral_constant<std::size_t, 0>());
            learnBit(std::integral_constant<std::size_t, 1>());
            learnBit(std::integral_constant<std::size_t, 2>());
            learnBit(std::integral_constant<std::size_t, 3>());
            mixer_[last.set] = weights;
        }
        latest_ ^= 1U;
        taught_ = true;
    }

    [[gnu::always_inline]] void MixLesson(const Lesson& lesson, std::size_t b,
                                          typename Mix::Weights& weights, bool nearLimit) {
        typename Mix::Opinions opinions;
        for (std::size_t g = 0; g < Mix::kGroups; ++g) {
            __builtin_memcpy(&opinions[g], &lesson.opinions[b][4 * g], sizeof opinions[g]);
        }
        const std::uint32_t predicted = Mix::Mix(weights, opinions);
        Mix::Learn(weights, opinions, predicted, (lesson.bits >> (3 - b) & 1) != 0);
        if (nearLimit) Mix::Clamp(weights);
    }

    Table histories_;
    Mixer<kInputs, kWeightSets> mixer_;
    Contexts contexts_{};
    std::array<std::uint32_t, kInputs> lines_{};
    std::size_t set_ = 0;
    std::array<Lesson, 2> lessons_{};
    std::size_t latest_ = 0;
    bool taught_ = false;
};

}  // namespace delta
