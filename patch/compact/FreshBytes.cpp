#include "patch/compact/FreshBytes.h"

#include <algorithm>

namespace patch::compact {
namespace {

using delta::HashContext;

// All numbers here are part of the format, as those of delta::models are.
constexpr int kTableBits = 20;  // 4 MB: larger tables gain 3 % and leave the processor's cache
constexpr int kNearBits = 14;
constexpr int kPastBits = 18;
constexpr std::size_t kHistory = std::size_t{1} << 22;
constexpr std::uint64_t kIndexedWhole = 1U << 16;  // larger old content would overwrite the places
constexpr int kNearKey = 4;                        // bytes that must repeat
constexpr std::uint64_t kPastKey = 6;
constexpr std::uint64_t kMaxMatch = 32;  // longer matches predict no better

// A slot of pastPlaces_ holds a place and bits of the key's hash, so that a place with another key
// is mostly told without a look at the history, which is too large for the nearer caches.
constexpr std::uint32_t kPlaceMask = kHistory - 1;
static_assert(kHistory == std::size_t{1} << 22);

// Returns the last eight bytes, the very last one lowest; zeros in front of the first.
std::uint64_t Tail(ByteView before) {
    std::uint64_t tail = 0;
    const std::size_t count = std::min<std::size_t>(before.size(), sizeof tail);
    for (const std::uint8_t byte : before.last(count)) tail = tail << 8 | byte;
    return tail;
}

// Returns the last `count` bytes of a tail without its `skip` last ones.
std::uint32_t Last(std::uint64_t tail, int count, int skip = 0) {
    return static_cast<std::uint32_t>(tail >> (8 * skip) & ((std::uint64_t{1} << (8 * count)) - 1));
}

std::size_t NearSlot(std::uint32_t key) { return HashContext({key}) >> (32 - kNearBits); }

std::uint32_t LengthClass(std::uint64_t length) {
    if (length < 16) return static_cast<std::uint32_t>(length);
    return length < 24 ? 16 : length < 32 ? 17 : 18;
}

}  // namespace

FreshBytes::FreshBytes()
    : nearPlaces_(std::size_t{1} << kNearBits),
      pastPlaces_(std::size_t{1} << kPastBits),
      history_(kHistory) {
    model_.Clear(kTableBits);
}

void FreshBytes::Begin(ByteView oldFile) {
    old_ = oldFile;
    oldIsIndexed_ = false;
    near_ = {};
    past_ = {};
    ++member_;
}

void FreshBytes::Match::Advance() {
    if (length != 0 && continues) {
        ++at;
        ++length;
    } else {
        length = 0;
    }
}

int FreshBytes::NearByte(std::uint64_t place, ByteView before) const {
    if (place < old_.size()) return old_[place];
    place -= old_.size();
    return place < before.size() ? before[place] : -1;
}

// Only when the first byte is coded: most members have none.
void FreshBytes::IndexOld() {
    oldIsIndexed_ = true;
    std::ranges::fill(nearPlaces_, 0);
    if (old_.size() > kIndexedWhole) return;
    std::uint32_t key = 0;
    for (std::size_t at = 0; at < old_.size(); ++at) {
        if (at >= kNearKey) nearPlaces_[NearSlot(key)] = static_cast<std::uint32_t>(at);
        key = key << 8 | old_[at];
    }
}

void FreshBytes::FindNear(ByteView before, std::uint32_t key) {
    if (!oldIsIndexed_) IndexOld();
    near_.Advance();
    std::uint32_t& slot = nearPlaces_[NearSlot(key)];
    if (near_.length == 0 && slot != 0) {
        near_.at = slot;
        const std::uint64_t limit = std::min({kMaxMatch, near_.at, std::uint64_t{before.size()}});
        while (near_.length < limit && NearByte(near_.at - near_.length - 1, before) ==
                                           before[before.size() - near_.length - 1]) {
            ++near_.length;
        }
    }
    slot = static_cast<std::uint32_t>(old_.size() + before.size());
    // A place that wrapped at 4 GiB may lie past the known bytes.
    const int expected = near_.length == 0 ? -1 : NearByte(near_.at, before);
    if (expected < 0) near_.length = 0;
    near_.expected = static_cast<std::uint8_t>(expected);
}

void FreshBytes::FindPast(ByteView before, std::uint32_t key) {
    past_.Advance();
    std::uint32_t& slot = pastPlaces_[key >> (32 - kPastBits)];
    // Multiplied, for the lowest bits of a hash depend on few of its key.
    const std::uint32_t check = key * 0x9e3779b1U & ~kPlaceMask;
    if (past_.length == 0 && slot != 0 && ((slot ^ check) & ~kPlaceMask) == 0) {
        past_.at = slot & kPlaceMask;
        const std::uint64_t limit = std::min(kMaxMatch, std::uint64_t{before.size()});
        while (past_.length < limit && history_[(past_.at - past_.length - 1) & kPlaceMask] ==
                                           before[before.size() - past_.length - 1]) {
            ++past_.length;
        }
        if (past_.length < kPastKey) past_.length = 0;
    }
    slot = check | (static_cast<std::uint32_t>(remembered_) & kPlaceMask);
    past_.expected = past_.length == 0 ? std::uint8_t{0} : history_[past_.at & kPlaceMask];
}

void FreshBytes::Remember(std::uint8_t value) {
    history_[remembered_ & kPlaceMask] = value;
    ++remembered_;
}

void FreshBytes::Prepare(ByteView before, std::uint64_t oldAt) {
    const std::uint64_t tail = Tail(before);
    FindNear(before, Last(tail, kNearKey));
    FindPast(before, HashContext({Last(tail, 4), Last(tail, 2, 4)}));
    const std::uint32_t nearLength = LengthClass(near_.length);
    const std::uint32_t pastLength = LengthClass(past_.length);
    const std::uint32_t expected = nearLength == 0 ? 256U : near_.expected;
    const std::uint32_t expectedPast = pastLength == 0 ? 256U : past_.expected;
    const std::uint32_t aligned = oldAt < old_.size() ? old_[oldAt] : 256U;
    const std::uint32_t last = Last(tail, 1);
    const std::size_t nearSet = nearLength == 0 ? 0 : nearLength < 6 ? 1 : nearLength < 16 ? 2 : 3;
    const std::size_t pastSet = pastLength == 0 ? 0 : pastLength < 16 ? 1 : 2;
    // Of this member alone: the last one to three bytes (1 to 3), every fourth byte, for records
    // (4). Of all members: the last four bytes (5). The expected bytes, by the lengths of their
    // matches (6, 7), and the old byte that a copy would have (8). More contexts take more time
    // than they save bytes, and where there is little to learn from they only disagree.
    model_.SetContexts(
        {HashContext({1, last, member_}), HashContext({2, Last(tail, 2), member_}),
         HashContext({3, Last(tail, 3), member_}),
         HashContext({4, Last(tail, 1, 3), Last(tail, 1, 7), member_}),
         HashContext({5, Last(tail, 4)}), HashContext({6, expected, nearLength}),
         HashContext({7, expectedPast, pastLength}), HashContext({8, aligned, last})},
        nearSet * 3 + pastSet);
}

}  // namespace patch::compact
