// The records of a chunk file's body, as bytes (docs/formats/chunk.md).
//
// A body is checked once; after that its records can be walked without further checks, whatever
// they hold. A checked body may still be odd: a name or payload longer than its record is cut.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "assetdata/TagObserver.h"
#include "kernel/LittleEndian.h"

namespace Vorn {

inline constexpr std::uint32_t kChunkMagic = 0x2453434F;  // "OCS$"
inline constexpr std::uint32_t kChunkFileHeaderSize = 16;
inline constexpr std::uint32_t kChunkVersionAnsi = 0;
inline constexpr std::uint32_t kChunkVersionUtf8 = 1;
inline constexpr std::uint32_t kLeastRecord = 6;  // bytes of a record without name and payload

enum ChunkRecordType : std::uint8_t {
    kRecordContainer = 0,
    kRecordIntegers = 1,
    kRecordFloats = 2,
    kRecordText = 3,
    kRecordRaw = 4,
    kRecordNone = 5,
    kRecordAligned = 12,  // raw bytes from the next multiple of 16 on
    kRecordKUIDs = 13,
};

// Offsets count from the start of the body.
struct ChunkRange {
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
};

struct ChunkRecord {
    std::uint32_t offset = 0;
    std::uint32_t next = 0;      // where the record ends
    std::uint8_t type = 0;       // a ChunkRecordType, or any other number
    std::uint8_t nameField = 0;  // bytes of the name field, its zero byte included; 0 for no name
    std::string_view name;       // up to its zero byte; null data() for no name
    ChunkRange payload;
};

struct ChunkFault {
    TagFault fault;
    std::uint32_t offset;  // of the record
};

// Returns whether every record lies inside the one that contains it; if not, sets `fault` to the
// first that does not. Does not recurse, however deep they nest.
[[nodiscard]] bool CheckChunkRecords(std::span<const std::byte> body, ChunkFault& fault);

// Returns where the record at `offset` of a checked body ends.
[[nodiscard]] inline std::uint32_t NextChunkRecord(std::span<const std::byte> body,
                                                   std::uint32_t offset) {
    return offset + 4 + LoadU32<0>(std::span<const std::byte, 4>(body.data() + offset, 4));
}

// Returns the record at `offset` of a checked body.
[[nodiscard]] inline ChunkRecord ChunkRecordAt(std::span<const std::byte> body,
                                               std::uint32_t offset) {
    const std::byte* at = body.data() + offset;
    ChunkRecord record;
    record.offset = offset;
    record.next = NextChunkRecord(body, offset);
    record.nameField = std::to_integer<std::uint8_t>(at[4]);
    record.type = std::to_integer<std::uint8_t>(at[5 + record.nameField]);
    if (record.nameField > 0) {
        const std::string_view field(reinterpret_cast<const char*>(at + 5), record.nameField);
        record.name = field.substr(0, field.find('\0'));
    }
    record.payload.begin = offset + kLeastRecord + record.nameField;
    record.payload.end = record.next > record.payload.begin ? record.next : record.payload.begin;
    return record;
}

// Returns whether another record begins at `offset` of a sequence that ends at `end`.
[[nodiscard]] constexpr bool HasChunkRecord(std::uint32_t offset, std::uint32_t end) {
    return end - offset >= kLeastRecord;
}

// The part of a body that a walk has still to visit: the rest of one sequence of records, and the
// ends of the sequences around it. A sequence that ends with its container stores no extra end, so
// a hostile nesting of such sequences takes no memory.
class OpenChunkSequences {
public:
    explicit OpenChunkSequences(std::span<const std::byte> body)
        : rest_{0, static_cast<std::uint32_t>(body.size())} {}

    // Returns whether the sequence has another record; up to 5 bytes may follow the last one.
    [[nodiscard]] bool HasRecord() const { return HasChunkRecord(rest_.begin, rest_.end); }

    // Continues after the container that ends here. Returns false if there is none.
    [[nodiscard]] bool Leave() {
        if (ends_.empty()) return false;
        rest_ = {rest_.end, ends_.back()};
        ends_.pop_back();
        return true;
    }

    [[nodiscard]] const ChunkRange& Rest() const { return rest_; }

    // Moves past a record, or into its payload if that is a sequence.
    void Pass(ChunkRange payload, bool container) {
        rest_.begin = payload.end;
        if (!container || payload.begin >= payload.end) return;
        if (payload.end != rest_.end) ends_.push_back(rest_.end);
        rest_ = payload;
    }

private:
    ChunkRange rest_;
    std::vector<std::uint32_t> ends_;
};

}  // namespace Vorn
