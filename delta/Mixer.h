// Combines the predictions of several contexts into one probability.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "delta/BitModel.h"
#include "delta/Lanes.h"

namespace delta {

// Adds up the predictions ("opinions", see kStretch) of `kInputs` contexts, weighted by how often
// each was right so far. There are several sets of weights, because different contexts are right in
// different situations.
//
// Callers copy the weights of a set out and back, so they stay in registers over several bits.
template <std::size_t kInputs, std::size_t kWeightSets>
class Mixer {
public:
    // The number of groups of four inputs; inputs beyond kInputs are 0.
    static constexpr std::size_t kGroups = (kInputs + 3) / 4;
    using Weights = std::array<Lanes, kGroups>;
    // Opinions in the low 16 bits of each lane; the high ones are ignored.
    using Opinions = std::array<Lanes, kGroups>;

    void Clear() {
        // Weights start above an equal share, see kWeightShare.
        constexpr auto kInitial =
            static_cast<std::int32_t>(std::size_t{models::kWeightOne} * models::kWeightShare /
                                      models::kWeightShareOf / (kInputs + 1));
        for (Weights& set : sets_) {
            for (std::size_t i = 0; i < 4 * kGroups; ++i) {
                set[i / 4][i % 4] = i < kInputs ? kInitial : 0;
            }
        }
    }

    Weights& operator[](std::size_t set) { return sets_[set]; }

    // Returns the probability of a 1, in 1/65536.
    static std::uint32_t Mix(const Weights& weights, const Opinions& opinions) {
        // The products have up to 37 bits. Splitting the weights into signed halves keeps each sum
        // of products below 32 bits.
        Lanes low{};
        Lanes high{};
        for (std::size_t g = 0; g < kGroups; ++g) {
            low += SumOfProducts(opinions[g] & 0xffff, weights[g]);
            high += SumOfProducts(opinions[g] << 16, weights[g] + 0x8000);
        }
        Lanes sums = __builtin_shufflevector(low, high, 0, 4, 1, 5) +
                     __builtin_shufflevector(low, high, 2, 6, 3, 7);
        sums += __builtin_shufflevector(sums, sums, 2, 3, 0, 1);
        // The sum of all divided by kWeightOne, rounded towards 0.
        static_assert(models::kWeightOne == 1 << 16);
        const std::int32_t floor = sums[1] + (sums[0] >> 16);
        const std::int32_t below = (floor >> 31) & ((sums[0] & 0xffff) + 0xffff) >> 16;
        constexpr std::int32_t kLimit = detail::kStretchLimit;
        const std::int32_t mixed = std::clamp(floor + below, -kLimit, kLimit);
        return detail::kSquash[static_cast<std::size_t>(mixed + kLimit)];
    }

    // Moves the weights towards the contexts that predicted `bit` well. `predicted` is the mixed
    // probability that was used.
    static void Learn(Weights& weights, const Opinions& opinions, std::uint32_t predicted,
                      bool bit) {
        // The error has 17 bits, so it is split into two numbers of 16 bits; their products with a
        // prediction are added.
        const std::int32_t pair = ((32768 - static_cast<std::int32_t>(predicted)) & 0xffff) |
                                  (bit ? 0x7fff0000 : -0x7fffffff - 1);
        const Lanes error = Lanes{} + pair;
        for (std::size_t g = 0; g < kGroups; ++g) {
            const Lanes twice = (opinions[g] & 0xffff) | (opinions[g] << 16);
            weights[g] += SumOfProducts(twice, error) >> models::kLearningShift;
        }
    }

    // Returns whether a weight is so large that it might leave its range within a byte. This is
    // rare, so callers test once per byte and clamp after each bit only then.
    static bool NearLimit(const Weights& weights) {
        constexpr std::int32_t kFar = models::kMaxWeight / 2;
        static_assert(kFar + 8 * (detail::kStretchLimit << (16 - models::kLearningShift)) <
                      models::kMaxWeight);
        Lanes far{};
        for (const Lanes& group : weights) far |= group + kFar;
        return (static_cast<std::uint32_t>(AnyLane(far)) / (2 * std::uint32_t{kFar})) != 0;
    }

    static void Clamp(Weights& weights) {
        for (Lanes& group : weights) {
            for (int i = 0; i < 4; ++i) {
                group[i] =
                    std::clamp<std::int32_t>(group[i], -models::kMaxWeight, models::kMaxWeight);
            }
        }
    }

private:
    std::array<Weights, kWeightSets> sets_{};
};

}  // namespace delta
