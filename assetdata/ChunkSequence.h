// An index of one sequence of records of a loaded chunk file: offsets, names, and later changes.
//
// Borrows the body. Lookups may run on many threads at once; a change needs exclusive access.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "assetdata/ChildList.h"
#include "assetdata/ChunkRecords.h"
#include "assetdata/LivePositions.h"
#include "assetdata/PositionIndex.h"
#include "kernel/InternedString.h"

namespace Vorn {

inline constexpr std::uint32_t kNoChunkRecord = 0xFFFFFFFF;

// Returns whether the record has that name; the null handle matches a record without one.
[[nodiscard]] bool IsNamed(const ChunkRecord& record, const InternedString& name);

class ChunkSequence {
public:
    ChunkSequence(std::span<const std::byte> body, ChunkRange range);

    // Find records that were not removed, by position and by name; both return its offset.
    [[nodiscard]] std::uint32_t RecordCount() const { return live_.Count(); }
    [[nodiscard]] std::uint32_t RecordAt(std::uint32_t index) const {
        return records_[live_.Select(index)];
    }
    [[nodiscard]] std::uint32_t FindRecord(const InternedString& name) const;
    [[nodiscard]] bool Holds(std::uint32_t record) const;

    void Remove(std::uint32_t record);
    void Clear();

    // Returns the added children, which follow all records.
    [[nodiscard]] const ChildList& Added() const { return added_; }
    [[nodiscard]] ChildList& Added() { return added_; }

private:
    [[nodiscard]] std::uint32_t PositionOf(std::uint32_t record) const;
    void IndexNames() const;
    [[nodiscard]] std::string_view NameAt(std::uint32_t position) const {
        return ChunkRecordAt(body_, records_[position]).name;
    }

    std::span<const std::byte> body_;
    std::vector<std::uint32_t> records_;  // ascending
    LivePositions live_;
    mutable std::once_flag namesIndexed_;
    mutable std::unique_ptr<PositionIndex> byName_;
    ChildList added_;
};

}  // namespace Vorn
