#include "assetdata/ChunkBody.h"

#include <algorithm>
#include <string>
#include <utility>

#include "assetdata/TDBBinarySoup.h"
#include "assetdata/TDBDataChunk.h"
#include "assetdata/TagValues.h"
#include "platform/CodePage.h"

namespace Vorn {
namespace {

constexpr std::uint32_t kAlignment = 16;

}  // namespace

// A placeholder among added children for a record of the same body.
class ChunkBody::KeptRecord final : public OCSChunk {
public:
    explicit KeptRecord(std::uint32_t record) : record_(record) {}
    [[nodiscard]] std::uint32_t Record() const { return record_; }

private:
    std::uint32_t record_;
};

OCSChunkRef ChunkBody::Root() { return OCSChunkRef(new TDBBinarySoup(*this, kRoot, {0, size_})); }

OCSChunkRef ChunkBody::Decode(const ChunkRecord& record) {
    switch (record.type) {
        case kRecordContainer:
            return OCSChunkRef(new TDBBinarySoup(*this, record.offset, record.payload));
        case kRecordIntegers:
            return DecodeData(record, kTagInteger);
        case kRecordFloats:
            return DecodeData(record, kTagFloat);
        case kRecordText:
            return DecodeText(record);
        case kRecordRaw:
        case kRecordAligned:
            return DecodeData(record, kTagRaw);
        case kRecordKUIDs:
            return DecodeData(record, kTagKUID);
        default:
            return OCSChunkRef(new TDBDataChunk(*this, record.offset, {}, kTagNone));
    }
}

OCSChunkRef ChunkBody::DecodeData(const ChunkRecord& record, std::uint32_t type) {
    ChunkRange payload = record.payload;
    if (record.type == kRecordAligned) {  // padding brings the bytes to a multiple of 16
        const std::uint64_t begin = (std::uint64_t{payload.begin} + kAlignment - 1) & ~15ULL;
        payload.begin = static_cast<std::uint32_t>(std::min<std::uint64_t>(begin, payload.end));
    }
    const auto bytes = Bytes().subspan(payload.begin, payload.end - payload.begin);
    return OCSChunkRef(new TDBDataChunk(*this, record.offset, bytes, type));
}

OCSChunkRef ChunkBody::DecodeText(const ChunkRecord& record) {
    const auto bytes =
        Bytes().subspan(record.payload.begin, record.payload.end - record.payload.begin);
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    // Legacy text is converted. ASCII that ends with its zero byte is UTF-8 already, and is given
    // out in place.
    if (version_ != kChunkVersionAnsi || text.empty() || (IsAscii(text) && text.back() == '\0')) {
        return DecodeData(record, kTagText);
    }
    return OCSChunkRef(
        new TDBTextChunk(*this, record.offset, MakeText(platform::AnsiToUtf8(TextOf(bytes)))));
}

ChunkSequence& ChunkBody::SequenceOf(std::uint32_t record, ChunkRange range) {
    const ScopedLock guard(lock_);
    std::unique_ptr<ChunkSequence>& sequence = sequences_[record];
    if (!sequence) sequence = std::make_unique<ChunkSequence>(Bytes(), range);
    return *sequence;
}

OCSChunkRef ChunkBody::ToKept(const OCSChunkRef& child) {
    const auto* tag = dynamic_cast<const ChunkTag*>(child.Get());
    if (!tag || &tag->Body() != this) return child;
    OCSChunkRef& kept = kept_[tag->Record()];
    if (!kept) kept = OCSChunkRef(new KeptRecord(tag->Record()));
    return kept;
}

OCSChunkRef ChunkBody::FromKept(const OCSChunkRef& kept) {
    const auto* record = dynamic_cast<const KeptRecord*>(kept.Get());
    if (!record) return kept;
    return record->Record() == kRoot ? Root() : Decode(RecordAt(record->Record()));
}

std::optional<std::uint64_t> ChunkFileOffset(const OCSChunk& tag) {
    const auto* chunk = dynamic_cast<const ChunkTag*>(&tag);
    if (!chunk) return std::nullopt;
    return chunk->Record() == ChunkBody::kRoot
               ? 0
               : std::uint64_t{kChunkFileHeaderSize} + chunk->Record();
}

std::optional<std::uint64_t> ChunkFileEnd(const OCSChunk& tag) {
    const auto* chunk = dynamic_cast<const ChunkTag*>(&tag);
    if (!chunk) return std::nullopt;
    const ChunkBody& body = chunk->Body();
    return std::uint64_t{kChunkFileHeaderSize} + (chunk->Record() == ChunkBody::kRoot
                                                      ? body.Bytes().size()
                                                      : body.RecordAt(chunk->Record()).next);
}

}  // namespace Vorn
