// The encoder must replace pairs in one fixed order: by count, and among equal counts by the place
// of the pair in a hash table. So that table is kept exactly; the work around it is arranged to
// touch only what changes. A symbol (a byte, or a code for a pair) keeps the place of its content
// and is never moved. It is stored at the first and at the last place of its content, so that the
// neighbours on both sides of any place are found at once.
#include "archive/BytePair.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cstdint>
#include <cstring>

#include "archive/BorderLists.h"
#include "archive/PairCounts.h"
#include "archive/PairSlots.h"

namespace archive {

namespace {

constexpr std::size_t kSubBlockBytes = BorderLists::kMostPlaces;
// Fixed by the format.
constexpr std::size_t kMostDistinct = 210;
constexpr std::size_t kHighestCode = 254;

// Packs one sub-block after the other: Fill, ReplacePairs, Write.
class SubBlockEncoder {
public:
    // Takes the next sub-block from the front of `input`; returns its length.
    std::size_t Fill(std::span<const std::byte> input);

    // False when the counts ran out of slots.
    [[nodiscard]] bool ReplacePairs();

    // Appends the sub-block at `position`, and moves that on. False when the output would then
    // not be shorter than `limit`.
    [[nodiscard]] bool Write(std::span<std::byte> output, std::size_t& position,
                             std::size_t limit) const;

private:
    static constexpr std::size_t kMostTableBytes = std::size_t{256} * 3;

    void Clear();
    [[nodiscard]] bool ReplaceAll(std::size_t slot, std::uint8_t code);
    void ReplaceOne(std::size_t begin, std::size_t end, std::uint8_t code);
    void ChangePair(std::size_t border, NeighbourSlots& slots, std::uint8_t neighbour,
                    std::uint8_t first, std::uint8_t second);
    [[nodiscard]] bool IsCode(std::size_t c) const { return left_[c] != c; }
    [[nodiscard]] std::size_t LiteralRun(std::size_t c) const;
    [[nodiscard]] std::size_t EntryRun(std::size_t c) const;
    [[nodiscard]] std::size_t WriteTable(std::span<std::uint8_t, kMostTableBytes> table) const;
    void WriteSymbols(std::span<std::byte> output) const;

    PairCounts counts_;
    BorderLists borders_;
    ContentSlots contentSlots_;
    NeighbourSlots slotsBefore_;
    NeighbourSlots slotsAfter_;
    std::size_t size_ = 0;        // content bytes
    std::size_t packedSize_ = 0;  // symbols
    std::array<std::uint8_t, kSubBlockBytes> symbols_;
    // A bit for each first place of a symbol.
    std::array<std::uint64_t, kSubBlockBytes / 64> starts_;
    std::array<std::uint8_t, 256> left_;
    std::array<std::uint8_t, 256> right_;
    std::array<bool, 256> used_;
    std::array<std::uint16_t, 256> lengths_;  // content bytes of a symbol
};

// Takes bytes until the sub-block is full or has kMostDistinct values. A new value always comes
// with a new pair, so that values need counting only then.
std::size_t SubBlockEncoder::Fill(std::span<const std::byte> input) {
    Clear();
    size_ = std::min(input.size(), kSubBlockBytes);
    std::memcpy(symbols_.data(), input.data(), size_);
    used_[symbols_[0]] = true;
    std::size_t distinct = 1;
    for (std::size_t place = 1; place < size_; ++place) {
        const std::uint8_t first = symbols_[place - 1];
        const std::uint8_t second = symbols_[place];
        std::size_t slot = contentSlots_.Find(first, second);
        if (slot != ContentSlots::kNone) {
            borders_.Append(slot, place);
        } else {
            slot = counts_.Claim(first, second);
            contentSlots_.Set(first, second, slot);
            borders_.Start(slot, place);
            distinct += used_[second] ? 0 : 1;
            used_[second] = true;
            if (distinct == kMostDistinct) size_ = place + 1;
        }
        counts_.Raise(slot);
    }
    packedSize_ = size_;
    std::fill_n(starts_.begin(), size_ / 64, ~std::uint64_t{0});
    if (size_ % 64 != 0) starts_[size_ / 64] = (std::uint64_t{1} << size_ % 64) - 1;
    return size_;
}

void SubBlockEncoder::Clear() {
    counts_.Clear();
    contentSlots_.Clear();
    slotsBefore_.Clear();
    slotsAfter_.Clear();
    starts_.fill(0);
    used_.fill(false);
    lengths_.fill(1);
    for (std::size_t c = 0; c < 256; ++c) left_[c] = static_cast<std::uint8_t>(c);
}

bool SubBlockEncoder::ReplacePairs() {
    for (std::size_t code = kHighestCode + 1; code-- > 0;) {
        if (used_[code]) continue;
        const std::size_t slot = counts_.FindBest();
        if (slot == PairCounts::kSlots) return true;
        if (!ReplaceAll(slot, static_cast<std::uint8_t>(code))) return false;
        // The pair does not occur any more, but its slot stays taken: the places of later pairs in
        // the table depend on it, and with them which pair is replaced next.
        counts_.Retire(slot);
    }
    return true;
}

bool SubBlockEncoder::ReplaceAll(std::size_t slot, std::uint8_t code) {
    const std::uint8_t left = counts_.First(slot);
    const std::uint8_t right = counts_.Second(slot);
    left_[code] = left;
    right_[code] = right;
    used_[code] = true;
    const std::size_t leftLength = lengths_[left];
    const std::size_t rightLength = lengths_[right];
    lengths_[code] = static_cast<std::uint16_t>(leftLength + rightLength);

    slotsBefore_.Begin(code);
    slotsAfter_.Begin(code);
    // In a row of equal symbols a replacement takes the next border off this list.
    for (std::size_t border = borders_.First(slot); border < BorderLists::kNone;
         border = borders_.Next(border)) {
        if (!counts_.HasRoomForTwo()) return false;
        ReplaceOne(border - leftLength, border + rightLength, code);
        starts_[border / 64] &= ~(std::uint64_t{1} << border % 64);
        --packedSize_;
    }
    return true;
}

// Puts `code` in the place of the two symbols from `begin` to `end`.
inline void SubBlockEncoder::ReplaceOne(std::size_t begin, std::size_t end, std::uint8_t code) {
    if (begin > 0) {
        const std::uint8_t before = symbols_[begin - 1];
        ChangePair(begin, slotsBefore_, before, before, code);
    }
    if (end < size_) {
        const std::uint8_t after = symbols_[end];
        ChangePair(end, slotsAfter_, after, code, after);
    }
    symbols_[begin] = code;
    symbols_[end - 1] = code;
}

// Moves a border from the pair it parted to (`first`, `second`), one of which is the newest code
// and the other `neighbour`.
inline void SubBlockEncoder::ChangePair(std::size_t border, NeighbourSlots& slots,
                                        std::uint8_t neighbour, std::uint8_t first,
                                        std::uint8_t second) {
    counts_.Lower(borders_.SlotOf(border));
    borders_.Remove(border);
    std::size_t slot = 0;
    if (slots.Has(neighbour)) {
        slot = slots.Find(neighbour);
        borders_.Append(slot, border);
    } else {
        slot = counts_.Claim(first, second);
        slots.Set(neighbour, slot);
        borders_.Start(slot, border);
    }
    counts_.Raise(slot);
}

std::size_t SubBlockEncoder::LiteralRun(std::size_t c) const {
    std::size_t run = 1;
    while (run < 127 && c + run < 256 && !IsCode(c + run)) ++run;
    return run;
}

// Returns how many entries follow the first one. A single literal between two codes is written as
// a separate entry, which is shorter than two runs. The limits are fixed: a count byte below 128
// is a run of entries, and a literal is taken into one only if the code after it still fits as
// well.
std::size_t SubBlockEncoder::EntryRun(std::size_t c) const {
    std::size_t more = 0;
    while ((more < 127 && c + more + 1 < 256 && IsCode(c + more + 1)) ||
           (more < 125 && c + more + 2 < 255 && IsCode(c + more + 2))) {
        ++more;
    }
    return more;
}

std::size_t SubBlockEncoder::WriteTable(std::span<std::uint8_t, kMostTableBytes> table) const {
    std::size_t size = 0;
    for (std::size_t c = 0; c < 256;) {
        if (!IsCode(c)) {
            const std::size_t run = LiteralRun(c);
            table[size++] = static_cast<std::uint8_t>(127 + run);
            c += run;
            continue;
        }
        const std::size_t more = EntryRun(c);
        table[size++] = static_cast<std::uint8_t>(more);
        for (const std::size_t end = c + more + 1; c < end; ++c) {
            table[size++] = left_[c];
            if (IsCode(c)) table[size++] = right_[c];
        }
    }
    return size;
}

void SubBlockEncoder::WriteSymbols(std::span<std::byte> output) const {
    std::size_t written = 0;
    for (std::size_t word = 0; word < starts_.size(); ++word) {
        for (std::uint64_t left = starts_[word]; left != 0; left &= left - 1) {
            output[written++] =
                std::byte{symbols_[word * 64 + static_cast<std::size_t>(std::countr_zero(left))]};
        }
    }
}

bool SubBlockEncoder::Write(std::span<std::byte> output, std::size_t& position,
                            std::size_t limit) const {
    std::array<std::uint8_t, kMostTableBytes> table;
    const std::size_t tableSize = WriteTable(table);
    if (position + tableSize + 2 + packedSize_ >= limit) return false;

    std::memcpy(&output[position], table.data(), tableSize);
    position += tableSize;
    output[position++] = static_cast<std::byte>(packedSize_ >> 8);
    output[position++] = static_cast<std::byte>(packedSize_ & 0xFF);
    WriteSymbols(output.subspan(position, packedSize_));
    position += packedSize_;
    return true;
}

}  // namespace

std::size_t CompressBlock(std::span<std::byte> output, std::span<const std::byte> input) {
    assert(output.size() >= input.size());
    SubBlockEncoder encoder;
    std::size_t position = 0;
    for (std::size_t done = 0; done < input.size();) {
        done += encoder.Fill(input.subspan(done));
        if (!encoder.ReplacePairs() || !encoder.Write(output, position, input.size())) {
            std::ranges::copy(input, output.begin());
            return input.size();
        }
    }
    return position;
}

}  // namespace archive
