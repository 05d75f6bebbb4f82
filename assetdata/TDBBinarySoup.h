// A container of a chunk file: children are decoded when they are asked for.
//
// Records come first, in file order, then the children that were added. A changed container is the
// same for everyone who asks the file for it. Each lookup makes a new tag, which RemoveChild and
// SwapChildren know by its record.
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

    // The record of a child by its index, or kNoChunkRecord: an added child, or none.
    [[nodiscard]] std::uint32_t RecordAt(std::uint32_t index) const;
    [[nodiscard]] std::uint32_t WalkTo(std::uint32_t index, Place from) const;
    [[nodiscard]] const ChildList::Pair* AddedAt(std::uint32_t index) const;
    // Whether the records tell all that is to know; a walk over a few of them is then cheaper.
    [[nodiscard]] bool MayWalk() const;
    [[nodiscard]] ChunkSequence& Sequence() const;
    // For a change, after which no container of the body is merely walked.
    [[nodiscard]] ChunkSequence& ChangedSequence();
    // The record of a child that is one of this container's records, or kNoChunkRecord.
    [[nodiscard]] std::uint32_t RecordOf(const OCSChunkRef& child) const;
    // Takes a record out and puts `by` under its name among the added children.
    void ReplaceRecord(std::uint32_t record, const OCSChunkRef& by);

    ChunkRange range_;
    mutable std::atomic<Place> lastPlace_;  // where the last child by index was found
    mutable std::atomic<ChunkSequence*> sequence_ = nullptr;
};

}  // namespace Vorn
