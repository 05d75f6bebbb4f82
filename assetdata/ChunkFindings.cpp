#include "assetdata/ChunkFindings.h"

#include "assetdata/ChunkRecords.h"
#include "assetdata/KUID.h"

namespace Vorn {
namespace {

class Finder {
public:
    Finder(std::span<const std::byte> body, TagObserver& observer)
        : body_(body), observer_(observer) {}

    void Visit(const ChunkRecord& record) {
        VisitName(record);
        VisitPayload(record);
    }

    void Report(TagFault fault, std::uint32_t offset, std::string_view name = {}) {
        observer_.OnFinding(
            {fault, {kChunkFileHeaderSize + std::uint64_t{offset}}, Printable(name)});
    }

private:
    void VisitName(const ChunkRecord& record) {
        const std::uint32_t nameEnd = record.offset + kLeastRecord + record.nameField;
        if (nameEnd > record.next) Report(TagFault::NamePastRecord, record.offset, record.name);
        if (record.nameField == 0) return;
        if (record.name.size() == record.nameField) {
            Report(TagFault::NameWithoutZero, record.offset, record.name);
        } else if (record.name.size() + 1 < record.nameField) {
            Report(TagFault::BytesAfterName, record.offset, record.name);
        }
    }

    void VisitPayload(const ChunkRecord& record) {
        const auto payload =
            body_.subspan(record.payload.begin, record.payload.end - record.payload.begin);
        switch (record.type) {
            case kRecordContainer:
            case kRecordRaw:
            case kRecordAligned:
                return;
            case kRecordText:
                return VisitText(record, payload);
            case kRecordIntegers:
            case kRecordFloats:
                if (payload.size() % 4 != 0) {
                    Report(TagFault::OddPayload, record.offset, record.name);
                }
                return;
            case kRecordKUIDs:
                if (payload.size() % KUID::kPairSize != 0) {
                    Report(TagFault::OddPayload, record.offset, record.name);
                }
                return;
            case kRecordNone:
                if (payload.empty()) return;
                return Report(TagFault::ValueWithoutType, record.offset, record.name);
            default:
                Report(TagFault::UnknownRecordType, record.offset, record.name);
        }
    }

    void VisitText(const ChunkRecord& record, std::span<const std::byte> payload) {
        const std::string_view text(reinterpret_cast<const char*>(payload.data()), payload.size());
        const std::size_t zero = text.find('\0');
        if (zero == std::string_view::npos) {
            Report(TagFault::TextWithoutZero, record.offset, record.name);
        } else if (zero + 1 < text.size()) {
            Report(TagFault::BytesAfterText, record.offset, record.name);
        }
    }

    std::span<const std::byte> body_;
    TagObserver& observer_;
};

}  // namespace

void FindChunkOddities(std::span<const std::byte> body, TagObserver& observer) {
    Finder finder(body, observer);
    OpenChunkSequences open(body);
    do {
        for (; open.HasRecord();) {
            const ChunkRecord record = ChunkRecordAt(body, open.Rest().begin);
            finder.Visit(record);
            open.Pass({record.payload.begin, record.next}, record.type == kRecordContainer);
        }
        if (open.Rest().begin < open.Rest().end) {
            finder.Report(TagFault::BytesAfterRecords, open.Rest().begin);
        }
    } while (open.Leave());
}

}  // namespace Vorn
