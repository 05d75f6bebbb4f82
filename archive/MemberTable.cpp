#include "archive/MemberTable.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "archive/Names.h"
#include "kernel/LittleEndian.h"

namespace archive {

using Vorn::LoadU16;
using Vorn::LoadU32;
using Vorn::StoreU32;

MemberTable::MemberTable() : key_(Vorn::RandomSipHashKey()), slots_(kFirstSlots) {}

void MemberTable::Reserve(std::size_t count) {
    entries_.reserve(count);
    // At most two thirds full, so that Add does not rehash before `count` members are in.
    const std::size_t wanted = std::bit_ceil(count + count / 2 + 1);
    if (wanted > slots_.size()) Rehash(wanted);
}

MemberTable::Ordinal MemberTable::Add(std::uint32_t dataOffset, std::uint32_t storedSize,
                                      EntryBytes entry) {
    Append(dataOffset, storedSize, entry);
    LinkFrom(End() - 1);
    return End() - 1;
}

void MemberTable::AddRecords(std::span<const std::byte> records) {
    const Ordinal first = End();
    for (; !records.empty(); records = records.subspan(kIndexRecordSize)) {
        const auto record = records.first<kIndexRecordSize>();
        Append(LoadU32<0>(record), LoadU32<4>(record), record.last<kFindEntrySize>());
    }
    LinkFrom(first);
}

void MemberTable::Append(std::uint32_t dataOffset, std::uint32_t storedSize, EntryBytes entry) {
    const auto field = entry.first<Vorn::kMaxPath>();
    const auto* text = reinterpret_cast<const char*>(field.data());
    // The last byte of the field counts as NUL whatever it holds.
    const std::size_t nameLength = strnlen(text, Vorn::kMaxPath - 1);
    // The entry is written back byte for byte, so that bytes after the name's NUL count as well.
    std::size_t keptLength = Vorn::kMaxPath;
    // Mostly all of them are NUL, so that this looks at eight at a time first.
    constexpr std::array<std::byte, 8> kNuls{};
    while (keptLength >= nameLength + kNuls.size() &&
           std::memcmp(&field[keptLength - kNuls.size()], kNuls.data(), kNuls.size()) == 0) {
        keptLength -= kNuls.size();
    }
    while (keptLength > nameLength && field[keptLength - 1] == std::byte{0}) --keptLength;
    Entry& added = entries_.emplace_back();
    added.nameAt = KeepName(field.first(keptLength));
    added.nameLength = static_cast<std::uint16_t>(nameLength);
    added.keptLength = static_cast<std::uint16_t>(keptLength);
    added.dataOffset = dataOffset;
    added.storedSize = storedSize;
    std::ranges::copy(entry.last<kNumbersSize>(), added.numbers.begin());
    ++count_;
    endOfData_ = std::max(endOfData_, std::uint64_t{dataOffset} + storedSize);
}

void MemberTable::Remove(Ordinal ordinal) {
    Entry& entry = entries_[ordinal];
    if (entry.removed) return;
    entry.removed = true;
    --count_;
    const std::string_view name = NameOf(entry);
    Slot& slot = slots_[SlotOf(name, HashOf(name))];
    // From the front: only damaged archives have many live members of one name.
    std::uint32_t previous = kNone;
    for (std::uint32_t at = slot.first; at != ordinal; at = entries_[at].next) previous = at;
    (previous == kNone ? slot.first : entries_[previous].next) = entry.next;
    if (slot.last == ordinal) slot.last = previous;
    if (slot.first != kNone) return;
    // An empty slot stays used: a search for a name after it in the probe must pass over it.
    slot.last = kNone;
    --names_;
}

Member MemberTable::operator[](Ordinal ordinal) const {
    const Entry& entry = entries_[ordinal];
    const std::span<const std::byte, kNumbersSize> numbers(entry.numbers);
    return {.name = NameOf(entry),
            .dataOffset = entry.dataOffset,
            .storedSize = entry.storedSize,
            .size = LoadU32<0>(numbers),
            .crc = LoadU32<8>(numbers),
            .creationTime = LoadU32<12>(numbers),
            .accessTime = LoadU32<16>(numbers),
            .writeTime = LoadU32<20>(numbers),
            .attributes = LoadU16<24>(numbers)};
}

void MemberTable::EncodeEntry(Ordinal ordinal, std::span<std::byte, kFindEntrySize> entry) const {
    const Entry& from = entries_[ordinal];
    const auto field = entry.first<Vorn::kMaxPath>();
    std::memcpy(field.data(), NameOf(from).data(), from.keptLength);
    std::ranges::fill(field.subspan(from.keptLength), std::byte{0});
    std::ranges::copy(from.numbers, entry.last<kNumbersSize>().begin());
}

// The same record as EncodeIndexRecord's, but with the entry's bytes as they were read.
void MemberTable::EncodeRecord(Ordinal ordinal,
                               std::span<std::byte, kIndexRecordSize> record) const {
    StoreU32<0>(record, entries_[ordinal].dataOffset);
    StoreU32<4>(record, entries_[ordinal].storedSize);
    EncodeEntry(ordinal, record.last<kFindEntrySize>());
}

std::optional<MemberTable::Ordinal> MemberTable::Find(std::string_view name) const {
    const Slot& slot = slots_[SlotOf(name, HashOf(name))];
    if (slot.first == kNone) return std::nullopt;
    return slot.first;
}

std::optional<MemberTable::Ordinal> MemberTable::NextOfSameName(Ordinal ordinal) const {
    const std::uint32_t next = entries_[ordinal].next;
    if (next == kNone) return std::nullopt;
    return next;
}

std::size_t MemberTable::MemoryHeld() const {
    return sizeof(*this) + entries_.capacity() * sizeof(Entry) + slots_.capacity() * sizeof(Slot) +
           nameBlocks_.size() * kNameBlock;
}

std::string_view MemberTable::NameOf(const Entry& entry) const {
    return {nameBlocks_[entry.nameAt / kNameBlock].get() + entry.nameAt % kNameBlock,
            entry.nameLength};
}

std::uint32_t MemberTable::KeepName(std::span<const std::byte> bytes) {
    if (nameBlockUsed_ + bytes.size() >= kNameBlock) {
        nameBlocks_.push_back(std::make_unique_for_overwrite<char[]>(kNameBlock));
        nameBlockUsed_ = 0;
    }
    if (!bytes.empty()) {
        std::memcpy(nameBlocks_.back().get() + nameBlockUsed_, bytes.data(), bytes.size());
    }
    const std::size_t at = (nameBlocks_.size() - 1) * kNameBlock + nameBlockUsed_;
    nameBlockUsed_ += bytes.size();
    return static_cast<std::uint32_t>(at);
}

std::uint32_t MemberTable::HashOf(std::string_view name) const {
    // No archive has a longer name: what is cut off here cannot hide a member.
    std::array<char, Vorn::kMaxPath> folded;
    const std::size_t length = std::min(name.size(), folded.size());
    FoldInto(name.substr(0, length), folded.data());
    return static_cast<std::uint32_t>(Vorn::SipHash13(key_, {folded.data(), length}));
}

std::size_t MemberTable::SlotOf(std::string_view name, std::uint32_t hash) const {
    const std::size_t mask = slots_.size() - 1;
    std::size_t free = slots_.size();
    for (std::size_t at = hash & mask;; at = (at + 1) & mask) {
        const Slot& slot = slots_[at];
        if (!slot.used) return free < slots_.size() ? free : at;
        if (slot.first == kNone) {
            if (free == slots_.size()) free = at;
        } else if (slot.hash == hash && SameName(NameOf(entries_[slot.first]), name)) {
            return at;
        }
    }
}

void MemberTable::LinkFrom(Ordinal first) {
    const std::size_t used = usedSlots_ + (End() - first);
    if (used * 4 > slots_.size() * 3) {
        Rehash(std::bit_ceil(used + used / 3 + 1));  // links the new entries too
    } else {
        Link(first);
    }
}

// Links the entries from `first` on, some at a time: the slots of all of them are requested before
// the first one is read, because a slot is anywhere and mostly far from the processor.
void MemberTable::Link(Ordinal first) {
    constexpr std::size_t kAtOnce = 16;
    std::array<std::uint32_t, kAtOnce> hashes{};
    while (first < End()) {
        const auto count = static_cast<Ordinal>(std::min<std::size_t>(kAtOnce, End() - first));
        for (Ordinal i = 0; i < count; ++i) {
            hashes[i] = HashOf(NameOf(entries_[first + i]));
            __builtin_prefetch(&slots_[hashes[i] & (slots_.size() - 1)]);
        }
        for (Ordinal i = 0; i < count; ++i) {
            if (!entries_[first + i].removed) LinkOne(first + i, hashes[i]);
        }
        first += count;
    }
}

void MemberTable::LinkOne(Ordinal ordinal, std::uint32_t hash) {
    Slot& slot = slots_[SlotOf(NameOf(entries_[ordinal]), hash)];
    if (!slot.used) ++usedSlots_;
    if (slot.first == kNone) ++names_;
    slot.used = true;
    slot.hash = hash;
    (slot.first == kNone ? slot.first : entries_[slot.last].next) = ordinal;
    slot.last = ordinal;
}

void MemberTable::Rehash(std::size_t slotCount) {
    slots_.assign(slotCount, Slot{});
    usedSlots_ = 0;
    names_ = 0;
    for (Entry& entry : entries_) {
        if (!entry.removed) entry.next = kNone;
    }
    Link(0);
}

}  // namespace archive
