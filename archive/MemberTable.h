// The members of one archive in memory: in stored order, and by name.
//
// An entry keeps all 288 bytes of its member's entry, the ones after the name included, so that an
// index is rewritten byte for byte; it takes about 130 bytes for a name of 40. Members are known by
// their ordinal, which never changes: a removed member leaves a gap.
//
// Not locked. Views of names stay valid as long as the table.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "archive/ArchiveFormat.h"
#include "kernel/SipHash.h"

namespace archive {

// A member as the index has it, or, for one that a walk found, as its chunk has it.
struct Member {
    std::string_view name;           // as stored
    std::uint32_t dataOffset = 0;    // first byte of the data; its chunk begins 296 bytes earlier
    std::uint32_t storedSize = 0;    // bytes of data
    std::uint32_t size = 0;          // bytes of content
    std::uint32_t crc = 0;           // of the content; 0 means not recorded
    std::uint32_t creationTime = 0;  // seconds since 1970-01-01 UTC, as the other two
    std::uint32_t accessTime = 0;
    std::uint32_t writeTime = 0;
    std::uint16_t attributes = 0;

    [[nodiscard]] std::uint64_t DataEnd() const { return std::uint64_t{dataOffset} + storedSize; }
};

class MemberTable {
public:
    using Ordinal = std::uint32_t;
    using EntryBytes = std::span<const std::byte, kFindEntrySize>;

    MemberTable();

    void Reserve(std::size_t count);
    Ordinal Add(std::uint32_t dataOffset, std::uint32_t storedSize, EntryBytes entry);
    // Adds the members of whole index records, in their order.
    void AddRecords(std::span<const std::byte> records);
    void Remove(Ordinal ordinal);

    [[nodiscard]] bool Has(Ordinal ordinal) const { return !entries_[ordinal].removed; }
    [[nodiscard]] Member operator[](Ordinal ordinal) const;
    [[nodiscard]] std::string_view Name(Ordinal ordinal) const { return NameOf(entries_[ordinal]); }
    // Writes the member's entry, and its index record.
    void EncodeEntry(Ordinal ordinal, std::span<std::byte, kFindEntrySize> entry) const;
    void EncodeRecord(Ordinal ordinal, std::span<std::byte, kIndexRecordSize> record) const;

    // One past the largest ordinal, gaps included.
    [[nodiscard]] Ordinal End() const { return static_cast<Ordinal>(entries_.size()); }
    [[nodiscard]] std::uint32_t Count() const { return count_; }
    // Returns the largest end of a member's data, removed ones included; 0 if there never was one.
    [[nodiscard]] std::uint64_t EndOfData() const { return endOfData_; }

    // Return the first member of that name (SameName), then the ones after it in the order of
    // adding.
    [[nodiscard]] std::optional<Ordinal> Find(std::string_view name) const;
    [[nodiscard]] std::optional<Ordinal> NextOfSameName(Ordinal ordinal) const;

    // Returns whether several members have one name.
    [[nodiscard]] bool HasDoubles() const { return names_ < count_; }

    // Returns the bytes of memory that the table holds.
    [[nodiscard]] std::size_t MemoryHeld() const;

private:
    static constexpr std::uint32_t kNone = 0xFFFFFFFF;
    // The bytes of an entry after its name: sizes, check sum, times, attributes.
    static constexpr std::size_t kNumbersSize = kFindEntrySize - Vorn::kMaxPath;
    static constexpr std::size_t kNameBlock = 65536;
    static constexpr std::size_t kFirstSlots = 64;

    struct Entry {
        std::uint32_t nameAt;      // block times kNameBlock, plus the offset in the block
        std::uint16_t nameLength;  // up to the first NUL
        std::uint16_t keptLength;  // up to the last byte of the field that is not NUL
        std::uint32_t dataOffset;
        std::uint32_t storedSize;
        std::uint32_t next = kNone;  // next member of the same name
        std::array<std::byte, kNumbersSize> numbers;
        bool removed = false;
    };
    // The members of one name: a list through Entry::next. A slot whose members were all removed
    // keeps its hash, so that searches pass over it.
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t first = kNone;
        std::uint32_t last = kNone;
        bool used = false;
    };

    [[nodiscard]] std::string_view NameOf(const Entry& entry) const;
    [[nodiscard]] std::uint32_t KeepName(std::span<const std::byte> bytes);
    [[nodiscard]] std::uint32_t HashOf(std::string_view name) const;
    // Returns the slot of that name, or the one that it would get.
    [[nodiscard]] std::size_t SlotOf(std::string_view name, std::uint32_t hash) const;
    void Append(std::uint32_t dataOffset, std::uint32_t storedSize, EntryBytes entry);
    // Makes the entries from `first` on, the last ones, known by name.
    void LinkFrom(Ordinal first);
    void Link(Ordinal first);
    void LinkOne(Ordinal ordinal, std::uint32_t hash);
    void Rehash(std::size_t slotCount);

    Vorn::SipHashKey key_;  // names come from files: their collisions must not be predictable
    std::vector<Entry> entries_;
    std::vector<std::unique_ptr<char[]>> nameBlocks_;
    std::size_t nameBlockUsed_ = kNameBlock;  // bytes of the last block
    std::vector<Slot> slots_;
    std::size_t usedSlots_ = 0;
    std::uint32_t count_ = 0;
    std::uint32_t names_ = 0;  // that live members have
    std::uint64_t endOfData_ = 0;
};

}  // namespace archive
