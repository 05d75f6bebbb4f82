#include "delta/FreshModel.h"

#include <algorithm>
#include <cstring>

namespace delta {
namespace {

// Returns the last eight bytes as a number, the last byte lowest. Missing bytes count as zeros.
std::uint64_t Tail(ByteView before) {
    std::uint64_t tail = 0;
    if (before.size() >= sizeof tail) {
        std::memcpy(&tail, before.data() + before.size() - sizeof tail, sizeof tail);
        if constexpr (std::endian::native == std::endian::little) tail = __builtin_bswap64(tail);
        return tail;
    }
    for (const std::uint8_t byte : before) tail = tail << 8 | byte;
    return tail;
}

// Returns the last `count` bytes of a tail after dropping its last `skip` bytes.
std::uint32_t Last(std::uint64_t tail, int count, int skip = 0) {
    return static_cast<std::uint32_t>(tail >> (8 * skip) & ((std::uint64_t{1} << (8 * count)) - 1));
}

std::size_t PlaceSlot(std::uint32_t key) {
    static_assert(models::kKeyLength == sizeof key);
    return HashContext({key}) >> (32 - models::kPlaceBits);
}

}  // namespace

int FreshModel::TableBits(std::uint64_t oldSize, std::uint64_t newSize) {
    return std::clamp(
        static_cast<int>(std::bit_width(oldSize + newSize)) + models::kFreshBitsPerSize,
        models::kMinTableBits, models::kMaxFreshBits);
}

void FreshModel::Begin(ByteView oldFile, std::uint64_t newSize) {
    old_ = oldFile;
    tableBits_ = TableBits(oldFile.size(), newSize);
    tablesMade_ = false;
    match_ = 0;
    matchLength_ = 0;
    expected_ = 0;
    matchContinues_ = false;
    learntTo_ = 0;
    lessonsLeft_ = models::kMaxLessons;
}

void FreshModel::MakeTables() {
    tablesMade_ = true;
    model_.Clear(tableBits_);
    places_.fill(0);
    if (old_.size() > models::kIndexedWhole) return;
    std::uint32_t key = 0;
    for (std::size_t at = 0; at < old_.size(); ++at) {
        if (at >= models::kKeyLength) places_[PlaceSlot(key)] = static_cast<std::uint32_t>(at);
        key = key << 8 | old_[at];
    }
}

int FreshModel::ByteAt(std::uint64_t place, ByteView before) const {
    if (place < old_.size()) return old_[place];
    place -= old_.size();
    return place < before.size() ? before[place] : -1;
}

void FreshModel::FindMatch(ByteView before, std::size_t slot, std::uint64_t base) {
    if (matchLength_ != 0 && matchContinues_) {
        ++match_;
        ++matchLength_;
    } else {
        matchLength_ = 0;
    }
    if (matchLength_ == 0 && places_[slot] != 0) {
        match_ = places_[slot];
        const std::uint64_t limit =
            std::min({models::kMaxMatch, match_, std::uint64_t{before.size()}});
        while (matchLength_ < limit && ByteAt(match_ - matchLength_ - 1, before) ==
                                           before[before.size() - matchLength_ - 1]) {
            ++matchLength_;
        }
    }
    places_[slot] = static_cast<std::uint32_t>(base + before.size());
    // After a wrap or a hash collision, the offset may lie past the known bytes.
    const int expected = matchLength_ == 0 ? -1 : ByteAt(match_, before);
    if (expected < 0) matchLength_ = 0;
    expected_ = static_cast<std::uint8_t>(expected);
}

void FreshModel::Prepare(ByteView before, std::uint64_t base, std::uint64_t oldAt) {
    if (!tablesMade_) MakeTables();
    const std::uint64_t tail = Tail(before);
    FindMatch(before, PlaceSlot(Last(tail, models::kKeyLength)), base);
    const auto length =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(matchLength_, models::kMatchClasses));
    const std::uint32_t expected = length == 0 ? 256U : expected_;
    const std::uint32_t aligned = oldAt < old_.size() ? old_[oldAt] : 256U;
    const std::uint32_t last = Last(tail, 1);
    // The contexts: none (1); the last one to four bytes (2 to 5), and six, for words (6); every
    // second byte, for records and 16-bit text (7); the expected byte and the length of its match
    // (8); the old byte that a copy would continue with (9).
    model_.SetContexts({HashContext({1}), HashContext({2, last}), HashContext({3, Last(tail, 2)}),
                        HashContext({4, Last(tail, 3)}), HashContext({5, Last(tail, 4)}),
                        HashContext({6, Last(tail, 4), Last(tail, 2, 4)}),
                        HashContext({7, Last(tail, 1, 1), Last(tail, 1, 3)}),
                        HashContext({8, expected, length}), HashContext({9, aligned, last})},
                       length == 0   ? 0
                       : length < 6  ? 1
                       : length < 12 ? 2
                                     : 3);
}

void FreshModel::LearnAround(std::uint64_t at) {
    const std::uint64_t from = std::max(learntTo_, at - std::min(at, models::kLessonBefore));
    const std::uint64_t to = std::min<std::uint64_t>(old_.size(), at + models::kLessonAfter);
    // A match does not continue across separate stretches of bytes.
    matchLength_ = 0;
    for (std::uint64_t i = from; i < to && lessonsLeft_ > 0; ++i, --lessonsLeft_) {
        Prepare(old_.first(i), 0, old_.size());
        model_.Teach(old_[i]);
        matchContinues_ = old_[i] == expected_;
        learntTo_ = i + 1;
    }
    model_.FinishTeaching();
    matchLength_ = 0;
}

}  // namespace delta
