#include "delta/DifferenceModel.h"

#include <algorithm>

namespace vdiff {
namespace {

constexpr std::size_t kFlagInputs = 6;
constexpr std::size_t kDeltaInputs = 8;
constexpr std::uint32_t kDistances = 16;

// Tables that outgrow the processor's second-level cache cost more time than they save room.
int TableBits(std::uint64_t oldSize) {
    return std::clamp(static_cast<int>(std::bit_width(oldSize)), 12, 18);
}

}  // namespace

DifferenceModel::DifferenceModel(ByteView oldFile)
    : old_(oldFile),
      quick_(std::size_t{256} * kDistances, BitHistory(1U << 11)),
      flags_(kFlagInputs, 8, TableBits(oldFile.size())),
      deltas_(kDeltaInputs, 8, TableBits(oldFile.size())) {}

std::uint32_t DifferenceModel::OldWord(std::uint64_t at) const {
    return OldByte(at) | OldByte(at + 1) << 8 | OldByte(at + 2) << 16 | OldByte(at + 3) << 24;
}

// Bytes since the last difference, in classes: exact up to 8, then wider.
std::uint32_t DifferenceModel::Distance() const {
    if (sinceDifference_ <= 8) return static_cast<std::uint32_t>(sinceDifference_);
    return std::min<std::uint32_t>(
        kDistances - 1, 5 + static_cast<std::uint32_t>(std::bit_width(sinceDifference_)));
}

BitHistory& DifferenceModel::BeginFlag(std::uint64_t at) {
    return quick_[(at == 0 ? 0 : OldByte(at - 1)) * kDistances + Distance()];
}

void DifferenceModel::SetFlagContexts(std::uint64_t at) {
    const std::uint32_t distance = Distance();
    const std::uint32_t before = OldByte(at - 1);
    const std::uint32_t before2 = OldByte(at - 2);
    const auto since = static_cast<std::uint32_t>(std::min<std::uint64_t>(sinceDifference_, 255));
    const std::array<std::uint32_t, kFlagInputs> contexts{
        HashContext({1, before, distance}),
        HashContext({2, before, before2, OldByte(at - 3), distance}),
        HashContext({3, OldByte(at), before, distance}),
        HashContext({4, since, static_cast<std::uint32_t>(std::min<std::uint64_t>(lastGap_, 255))}),
        HashContext({5, OldWord(at), distance == 0 ? static_cast<std::uint32_t>(run_) : 99U}),
        HashContext({6, static_cast<std::uint32_t>(run_), lastDelta_, OldByte(at), distance}),
    };
    flags_.SetContexts(contexts.data(), std::min<std::size_t>(distance, 7));
}

void DifferenceModel::SetDeltaContexts(std::uint64_t at) {
    if (run_ == 0) {
        word_ = OldWord(at);
        target_ = word_ + static_cast<std::uint32_t>(at);
    }
    const auto place = static_cast<std::uint32_t>(std::min<std::uint64_t>(run_, 7));
    const std::uint32_t same = deltaInRun_.at(place);
    const std::uint32_t first = deltaInRun_[0];
    const std::array<std::uint32_t, kDeltaInputs> contexts{
        HashContext({1, place, same}),
        HashContext({2, place, same, lastDelta_}),
        HashContext({3, place, target_ >> 10, lastDelta_}),
        HashContext({4, place, target_, lastDelta_}),
        HashContext({5, place, OldByte(at), same}),
        HashContext({6, place, word_ >> 10, lastDelta_}),
        HashContext({7, place, first, OldByte(at - 1), OldByte(at)}),
        HashContext({8, place, lastDelta_, OldByte(at)}),
    };
    deltas_.SetContexts(contexts.data(), place);
}

void DifferenceModel::Note(std::uint8_t delta) {
    deltaInRun_.at(std::min<std::uint64_t>(run_, 7)) = delta;
    lastDelta_ = delta;
    if (run_ == 0) lastGap_ = sinceDifference_;
    ++run_;
    sinceDifference_ = 0;
}

}  // namespace vdiff
