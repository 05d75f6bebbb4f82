// A container of a chunk file, which decodes its children on demand.
//
// Records come first, in file order, then added children. All tags of one container share its
// changes. Each lookup makes a new tag; RemoveChild and SwapChildren identify it by its record.
#pragma once

#include <atomic>
#include <cstdint>

#include "assetdata/ChunkBody.h"
#include "assetdata/ChunkSequence.h"
#include "assetdata/OCSChunk.h"

namespace Vorn {

class TDBBinarySoup final : public ChunkTag {
public:
    TDBBinarySoup(ChunkBody& body, std::uint32_t record, ChunkRange range)
        : ChunkTag(body, record), range_(range), lastPlace_(Place{0, range.begin}) {}

    [[nodiscard]] OCSChunkRef FindChild(const InternedString& name) override;
    [[nodiscard]] OCSChunkRef FindChild(const InternedString& name) const override;
    [[nodiscard]] std::uint32_t ChildCount() const override;
    [[nodiscard]] InternedString ChildName(std::uint32_t index) const override;
    void Clear() override;
    void SwapChildren(const OCSChunkRef& a, const OCSChunkRef& b) override;
    void AddChild(const InternedString& name, const OCSChunkRef& child) override;
    void RemoveChild(const OCSChunkRef& child) override;
    [[nodiscard]] OCSChunkRef CreateChunk(std::uint32_t type) override;
    [[nodiscard]] std::uint32_t GetType() const override { return kTagContainer; }
    [[nodiscard]] NamedChild ChildAt(std::uint32_t index) const override;

private:
    struct alignas(8) Place {
        std::uint32_t index;
        std::uint32_t offset;
    };

    // Returns the record of a child by its index; kNoChunkRecord for an added child or none.
    [[nodiscard]] std::uint32_t RecordAt(std::uint32_t index) const;
    [[nodiscard]] std::uint32_t WalkTo(std::uint32_t index, Place from) const;
    [[nodiscard]] const ChildList::Pair* AddedAt(std::uint32_t index) const;
    // Returns whether the container is unchanged, so that walking its few records is cheaper.
    [[nodiscard]] bool MayWalk() const;
    [[nodiscard]] ChunkSequence& Sequence() const;
    // Returns the sequence for a change, after which no container of the body uses MayWalk's way.
    [[nodiscard]] ChunkSequence& ChangedSequence();
    // Returns the record of a child if it is one of this container's records, or kNoChunkRecord.
    [[nodiscard]] std::uint32_t RecordOf(const OCSChunkRef& child) const;
    // Removes a record and adds `by` under its name to the added children.
    void ReplaceRecord(std::uint32_t record, const OCSChunkRef& by);

    ChunkRange range_;
    mutable std::atomic<Place> lastPlace_;  // where the last child by index was found
    mutable std::atomic<ChunkSequence*> sequence_ = nullptr;
};

}  // namespace Vorn
