#include "delta/FreshModel.h"

#include <algorithm>

namespace vdiff {
namespace {

constexpr std::size_t kInputs = 9;
constexpr int kPlaceBits = 13;
constexpr std::uint64_t kKeyLength = 4;
constexpr std::uint64_t kIndexedWhole = 1U << 16;
constexpr std::uint64_t kLessonBefore = 256;
constexpr std::uint64_t kLessonAfter = 256;
constexpr std::uint64_t kMaxLessons = 1U << 15;

// Stands in for a coder where both sides know the bits.
struct NoCoder {
    static bool Code(bool bit, std::uint32_t /*probability*/) { return bit; }
};

// The last `count` bytes before a place as one number, zeros in front of the first.
std::uint32_t Last(ByteView before, std::size_t count, std::size_t skip = 0) {
    std::uint32_t value = 0;
    for (std::size_t i = count + skip; i > skip; --i) {
        value = value << 8 | (i <= before.size() ? before[before.size() - i] : 0U);
    }
    return value;
}

std::size_t PlaceSlot(ByteView before) {
    return HashContext({Last(before, kKeyLength)}) >> (32 - kPlaceBits);
}

}  // namespace

FreshModel::FreshModel(ByteView oldFile, std::uint64_t newSize)
    : old_(oldFile),
      model_(kInputs, 4,
             std::clamp(static_cast<int>(std::bit_width(oldFile.size() + newSize)) + 2, 12, 19)),
      places_(std::size_t{1} << kPlaceBits),
      lessonsLeft_(kMaxLessons) {
    if (oldFile.size() > kIndexedWhole) return;
    for (std::size_t at = kKeyLength; at < oldFile.size(); ++at) {
        places_[PlaceSlot(oldFile.first(at))] = static_cast<std::uint32_t>(at);
    }
}

int FreshModel::ByteAt(std::uint64_t place, ByteView before) const {
    if (place < old_.size()) return old_[place];
    place -= old_.size();
    return place < before.size() ? before[place] : -1;
}

void FreshModel::FindMatch(ByteView before, std::uint64_t base) {
    if (matchLength_ != 0 && matchGoesOn_) {
        ++match_;
        ++matchLength_;
    } else {
        matchLength_ = 0;
    }
    const std::size_t slot = PlaceSlot(before);
    if (matchLength_ == 0 && places_[slot] != 0) {
        match_ = places_[slot];
        while (matchLength_ < 24 && matchLength_ < std::min<std::uint64_t>(match_, before.size()) &&
               ByteAt(match_ - matchLength_ - 1, before) ==
                   before[before.size() - matchLength_ - 1]) {
            ++matchLength_;
        }
    }
    places_[slot] = static_cast<std::uint32_t>(base + before.size());
    const int expected = matchLength_ == 0 ? -1 : ByteAt(match_, before);
    if (expected < 0) matchLength_ = 0;
    expected_ = static_cast<std::uint8_t>(expected);
}

void FreshModel::Prepare(ByteView before, std::uint64_t base, std::uint64_t oldAt) {
    FindMatch(before, base);
    const auto length = static_cast<std::uint32_t>(std::min<std::uint64_t>(matchLength_, 15));
    const std::uint32_t expected = length == 0 ? 256U : expected_;
    const std::uint32_t aligned = oldAt < old_.size() ? old_[oldAt] : 256U;
    const std::uint32_t last = Last(before, 1);
    const std::array<std::uint32_t, kInputs> contexts{
        HashContext({1}),
        HashContext({2, last}),
        HashContext({3, Last(before, 2)}),
        HashContext({4, Last(before, 3)}),
        HashContext({5, Last(before, 4)}),
        HashContext({6, Last(before, 4), Last(before, 2, 4)}),
        HashContext({7, Last(before, 1, 1), Last(before, 1, 3)}),
        HashContext({8, expected, length}),
        HashContext({9, aligned, last}),
    };
    model_.SetContexts(contexts.data(), length == 0 ? 0 : length < 6 ? 1 : length < 12 ? 2 : 3);
}

void FreshModel::LearnAround(std::uint64_t at) {
    const std::uint64_t from = std::max(learntTo_, at - std::min(at, kLessonBefore));
    const std::uint64_t to = std::min<std::uint64_t>(old_.size(), at + kLessonAfter);
    NoCoder coder;
    matchLength_ = 0;
    for (std::uint64_t i = from; i < to && lessonsLeft_ > 0; ++i, --lessonsLeft_) {
        Prepare(old_.first(i), 0, old_.size());
        matchGoesOn_ = CodeByte(coder, model_, old_[i]) == expected_;
        learntTo_ = i + 1;
    }
    matchLength_ = 0;
}

}  // namespace vdiff
