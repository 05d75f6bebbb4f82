// The checked body of a loaded chunk file, and the tree that its records make.
//
// Tags are decoded on demand and hold a reference to the body. Changes are kept here, for all tags
// of the same sequence of records. A tag of this body that is added to this body is kept as the
// offset of its record, so that the body does not hold itself. Inside a container from elsewhere it
// does hold the body, until that container is cleared.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <unordered_map>

#include "assetdata/ChunkRecords.h"
#include "assetdata/ChunkSequence.h"
#include "assetdata/OCSChunk.h"
#include "kernel/SyncObject.h"

namespace Vorn {

class ChunkBody final : public ReferenceCountMP {
public:
    // Returns the record number of the whole body.
    static constexpr std::uint32_t kRoot = kNoChunkRecord;

    // Takes `size` checked bytes, aligned to 16.
    ChunkBody(std::uint32_t version, std::unique_ptr<const std::byte[]> bytes, std::uint32_t size)
        : version_(version), bytes_(std::move(bytes)), size_(size) {}

    [[nodiscard]] std::span<const std::byte> Bytes() const { return {bytes_.get(), size_}; }
    [[nodiscard]] ChunkRecord RecordAt(std::uint32_t offset) const {
        return ChunkRecordAt(Bytes(), offset);
    }

    [[nodiscard]] OCSChunkRef Root();
    [[nodiscard]] OCSChunkRef Decode(const ChunkRecord& record);

    // Returns the sequence of the container record `record`, or of the root; made at the first
    // call.
    [[nodiscard]] ChunkSequence& SequenceOf(std::uint32_t record, ChunkRange range);

    // Returns whether any sequence may differ from its records.
    [[nodiscard]] bool IsChanged() const { return changed_; }
    void SetChanged() { changed_ = true; }

    // Convert a child to the form in which added children are kept, and back.
    [[nodiscard]] OCSChunkRef ToKept(const OCSChunkRef& child);
    [[nodiscard]] OCSChunkRef FromKept(const OCSChunkRef& kept);

private:
    class KeptRecord;

    [[nodiscard]] OCSChunkRef DecodeText(const ChunkRecord& record);
    [[nodiscard]] OCSChunkRef DecodeData(const ChunkRecord& record, std::uint32_t type);

    std::uint32_t version_;
    std::unique_ptr<const std::byte[]> bytes_;
    std::uint32_t size_;
    bool changed_ = false;
    std::unordered_map<std::uint32_t, OCSChunkRef> kept_;
    CriticalSection lock_{"ChunkBody"};
    std::unordered_map<std::uint32_t, std::unique_ptr<ChunkSequence>> sequences_
        VORN_GUARDED_BY(lock_);
};

// A tag that represents a record of a body.
class ChunkTag : public OCSChunk {
public:
    [[nodiscard]] ChunkBody& Body() const { return *body_; }
    // Returns the record's offset, or ChunkBody::kRoot.
    [[nodiscard]] std::uint32_t Record() const { return record_; }

protected:
    ChunkTag(ChunkBody& body, std::uint32_t record) : body_(&body), record_(record) {}

private:
    RefPtr<ChunkBody> body_;
    std::uint32_t record_;
};

// Returns where a tag's record begins in its chunk file; nullopt for tags from elsewhere.
[[nodiscard]] std::optional<std::uint64_t> ChunkFileOffset(const OCSChunk& tag);
// Returns where it ends; for the root, where the last record ends.
[[nodiscard]] std::optional<std::uint64_t> ChunkFileEnd(const OCSChunk& tag);

}  // namespace Vorn
