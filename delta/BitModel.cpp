#include "delta/BitModel.h"

#include <algorithm>

namespace vdiff {
namespace {

constexpr std::uint32_t kHistoryLimit = 24;
constexpr int kLearningShift = 14;
constexpr std::int32_t kMaxWeight = 1 << 24;

// 65536 / (n + 1.5): how far the n-th bit moves a probability.
constexpr std::array<std::uint32_t, 1024> MakeRates() {
    std::array<std::uint32_t, 1024> rates{};
    for (std::uint32_t n = 0; n < rates.size(); ++n) rates.at(n) = 131072 / (2 * n + 3);
    return rates;
}

constexpr auto kRates = MakeRates();

// More than an equal share: contexts that have seen a bit before are mostly right.
std::int32_t InitialWeight(std::size_t inputs) {
    return static_cast<std::int32_t>(std::size_t{65536} * 7 / 2 / (inputs + 1));
}

}  // namespace

void BitHistory::Learn(bool bit, std::uint32_t maxCount) {
    const std::uint32_t count = Count();
    const std::int64_t probability = state_ >> 10;
    const std::int64_t target = bit ? (1 << 22) - 1 : 0;
    // Shifted, not divided: however small, a probability that is never right goes on falling.
    const std::int64_t moved =
        probability + (((target - probability) * std::int64_t{kRates[count]}) >> 16);
    state_ = static_cast<std::uint32_t>(moved) << 10 | (count < maxCount ? count + 1 : count);
}

MixedModel::MixedModel(std::size_t inputs, std::size_t weightSets, int tableBits)
    : inputs_(inputs),
      tableBits_(tableBits),
      weights_(inputs * weightSets, InitialWeight(inputs)),
      currentWeights_(weights_.data()) {}

void MixedModel::SetContexts(const std::uint32_t* hashes, std::size_t weightSet) {
    if (histories_.empty()) histories_.resize(std::size_t{1} << tableBits_);
    std::copy_n(hashes, inputs_, contexts_.begin());
    currentWeights_ = weights_.data() + weightSet * inputs_;
    Continue(0);
}

void MixedModel::Continue(std::uint32_t bits) {
    for (std::size_t i = 0; i < inputs_; ++i) {
        lines_[i] = ((contexts_[i] + bits * 0x9e3779b1U) * 0x85ebca6bU) >> (32 - tableBits_);
    }
}

std::uint32_t MixedModel::Predict(std::uint32_t node) {
    std::int64_t sum = 0;
    for (std::size_t i = 0; i < inputs_; ++i) {
        BitHistory& history = histories_[lines_[i] ^ node];
        current_[i] = &history;
        stretched_[i] = history.Count() == 0 ? 0 : detail::kStretch[history.Probability() >> 4];
        sum += std::int64_t{currentWeights_[i]} * stretched_[i];
    }
    constexpr std::int64_t kLimit = detail::kStretchLimit;
    const std::int64_t mixed = std::clamp(sum / 65536, -kLimit, kLimit);
    predicted_ = detail::kSquash[static_cast<std::size_t>(mixed + kLimit)];
    return predicted_;
}

void MixedModel::Learn(bool bit) {
    const std::int32_t error = (bit ? 65535 : 0) - static_cast<std::int32_t>(predicted_);
    for (std::size_t i = 0; i < inputs_; ++i) {
        const std::int32_t moved = currentWeights_[i] + ((stretched_[i] * error) >> kLearningShift);
        currentWeights_[i] = std::clamp(moved, -kMaxWeight, kMaxWeight);
        current_[i]->Learn(bit, kHistoryLimit);
    }
}

}  // namespace vdiff
