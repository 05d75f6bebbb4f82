// What readers and conversions tell about a tag database beside their results.
//
// Readers take an observer that may be null; without one they do no work for it. Each finding
// comes with its place: line and column for texts, the offset for both forms.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "assetdata/OCSChunk.h"

namespace Vorn {

enum class TagFault : std::uint8_t {
    // Texts.
    StrayBrace,
    MissingBrace,
    MissingQuote,
    BehindQuote,
    ZeroByte,
    NameCut,
    NoNumber,
    NumberOutOfRange,
    NumberCut,
    ListCut,
    BadKUID,
    KUIDNotExact,
    KUIDWraps,
    NumberRounded,
    NameLowered,
    // Chunk files.
    NotAChunkFile,
    UnknownVersion,
    NoBody,
    BodyPastEnd,
    BodyCutShort,
    BytesBehindBody,
    RecordPastEnd,
    TypePastEnd,
    BytesBehindRecords,
    NamePastRecord,
    NameWithoutZero,
    NameBehindZero,
    UnknownRecordType,
    ValueWithoutType,
    OddPayload,
    TextWithoutZero,
    BytesBehindText,
    // What the text form cannot hold.
    RawBytesLost,
    NameFolded,
    NamesFoldAlike,
    NameUnreadable,
    FloatRounded,
    ReadsAsOtherType,
    ValuesLost,
    KUIDChanged,
    EmptyValueLost,
    QuoteReplaced,
    LineEndReplaced,
    // What the chunk form cannot hold.
    NameTooLong,
    EmptyTree,
    TooLarge,
};
inline constexpr std::size_t kTagFaultCount = static_cast<std::size_t>(TagFault::TooLarge) + 1;

enum class TagWeight : std::uint8_t {
    Warning,  // programs read something otherwise than it stands there
    Damage,   // programs can read nothing at all
    Loss,     // another form does not hold it
};

struct TagFaultText {
    TagWeight weight;
    const char* text;  // one line for a person, without a full stop
};
[[nodiscard]] const TagFaultText& DescribeTagFault(TagFault fault);

struct TagPlace {
    std::uint64_t offset = 0;  // bytes from where reading began
    std::uint32_t line = 0;    // from 1; 0 for chunk files
    std::uint32_t column = 0;  // bytes in the line, from 1

    // That many bytes further on in the line.
    [[nodiscard]] TagPlace Behind(std::size_t bytes) const {
        return {offset + bytes, line, static_cast<std::uint32_t>(column + bytes)};
    }
};

struct TagFinding {
    TagFault fault;
    TagPlace place;
    std::string about;  // the tag's name or path, or a piece of the text; printable, may be empty
    const OCSChunk* tag = nullptr;  // for findings in a tree; the root for one about all of it
};

class TagObserver {
public:
    virtual ~TagObserver() = default;
    virtual void OnFinding(const TagFinding& finding) = 0;
    // A tag that was read, placed where its name stands. It lives as long as the tree does.
    virtual void OnTag(const OCSChunk& /*tag*/, const TagPlace& /*place*/) {}
};

// At most 80 bytes of a text for a message, bytes that are not printable replaced.
[[nodiscard]] std::string Printable(std::string_view text);

}  // namespace Vorn
