// Findings that readers and conversions report about a tag database besides their results.
//
// Readers accept a null observer and then do no work for findings. Each finding has its place: line
// and column for texts, the offset for both forms.
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
    AfterQuote,
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
    BytesAfterBody,
    RecordPastEnd,
    TypePastEnd,
    BytesAfterRecords,
    NamePastRecord,
    NameWithoutZero,
    BytesAfterName,
    UnknownRecordType,
    ValueWithoutType,
    OddPayload,
    TextWithoutZero,
    BytesAfterText,
    // Losses in the text form.
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
    // Losses in the chunk form.
    NameTooLong,
    EmptyTree,
    TooLarge,
    // Legal, and likely not what was meant.
    LooksLikeComment,
    LooksLikeThousands,
    NumberIsText,
    NameTwice,
};
inline constexpr std::size_t kTagFaultCount = static_cast<std::size_t>(TagFault::NameTwice) + 1;

enum class TagWeight : std::uint8_t {
    Warning,  // programs read something other than what is written
    Damage,   // programs cannot read the file
    Loss,     // the other form cannot represent it
    Note,     // legal, and likely not what was meant
};

struct TagFaultText {
    TagWeight weight;
    const char* kind;  // a word for programs and options, which never changes: "number-range"
    const char* text;  // one line for a person, without a full stop
};
[[nodiscard]] const TagFaultText& DescribeTagFault(TagFault fault);

struct TagPlace {
    std::uint64_t offset = 0;  // bytes from where reading began
    std::uint32_t line = 0;    // from 1; 0 for chunk files
    std::uint32_t column = 0;  // bytes in the line, from 1

    // Returns the place that many bytes further in the line.
    [[nodiscard]] TagPlace After(std::size_t bytes) const {
        return {offset + bytes, line, static_cast<std::uint32_t>(column + bytes)};
    }
};

struct TagFinding {
    TagFault fault;
    TagPlace place;
    std::string about;  // the tag's name or path, or a piece of the text; printable, may be empty
    const OCSChunk* tag = nullptr;  // for findings in a tree; the root for one about all of it
};

// The place of a tag in a text, in bytes from where reading began.
struct TagExtent {
    std::uint64_t name = 0;
    std::uint64_t nameEnd = 0;
    std::uint64_t value = 0;  // with its quotes or braces; of a tag without value, nameEnd
    std::uint64_t end = 0;  // after the value, which without quotes reaches to the line end or '}'
};

class TagObserver {
public:
    virtual ~TagObserver() = default;
    virtual void OnFinding(const TagFinding& finding) = 0;
    // Is called for each tag that was read, with the place of its name. The tag lives as long as
    // the tree.
    virtual void OnTag(const OCSChunk& /*tag*/, const TagPlace& /*place*/) {}
    // Is called for each tag of a text when all of it has been read, a container after its
    // children.
    virtual void OnTagEnd(const OCSChunk& /*tag*/, const TagExtent& /*extent*/) {}
};

// Returns at most 80 bytes of a text for a message, with unprintable bytes replaced.
[[nodiscard]] std::string Printable(std::string_view text);

}  // namespace Vorn
