#include "assetdata/TagObserver.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Vorn {
namespace {

constexpr std::size_t kMostShown = 80;

struct Row {
    TagFault fault;
    TagFaultText text;
};

constexpr Row kRows[] = {
    {TagFault::StrayBrace,
     {TagWeight::Warning, "stray-brace",
      "a '}' that closes nothing ends the text; what follows is not read"}},
    {TagFault::MissingBrace,
     {TagWeight::Warning, "missing-brace", "the text ends before the '}' of a container"}},
    {TagFault::MissingQuote,
     {TagWeight::Warning, "missing-quote",
      "the closing quote is missing; the value runs to the end"}},
    {TagFault::AfterQuote,
     {TagWeight::Warning, "after-quote", "text after a closing quote starts a new tag"}},
    {TagFault::ZeroByte,
     {TagWeight::Warning, "zero-byte", "a zero byte ends the text; what follows is not read"}},
    {TagFault::NameCut,
     {TagWeight::Warning, "name-cut", "the name has more than 511 bytes and is cut"}},
    {TagFault::NoNumber,
     {TagWeight::Warning, "no-number", "no number can be read here; it counts as 0"}},
    {TagFault::NumberOutOfRange,
     {TagWeight::Warning, "number-range", "the number does not fit; the nearest one is taken"}},
    {TagFault::NumberCut,
     {TagWeight::Warning, "number-cut", "only a part of this is a number; the rest is dropped"}},
    {TagFault::ListCut,
     {TagWeight::Warning, "list-cut", "the list has more than 255 bytes; the rest is dropped"}},
    {TagFault::BadKUID,
     {TagWeight::Warning, "bad-kuid", "this is not a KUID; the tag gets the null KUID"}},
    {TagFault::KUIDNotExact,
     {TagWeight::Warning, "inexact-kuid",
      "this reads as a KUID but is not written like one; the rest is dropped"}},
    {TagFault::KUIDWraps,
     {TagWeight::Warning, "kuid-range", "the KUID's user number does not fit and becomes another"}},
    {TagFault::NumberRounded,
     {TagWeight::Loss, "number-rounded", "the number has more digits than a float holds"}},
    {TagFault::NameLowered,
     {TagWeight::Loss, "name-lowered", "capital letters of the name become small ones"}},
    {TagFault::NotAChunkFile,
     {TagWeight::Damage, "not-binary", "not a chunk file: it does not begin with \"OCS$\""}},
    {TagFault::UnknownVersion,
     {TagWeight::Damage, "version", "the format version is neither 0 nor 1"}},
    {TagFault::NoBody, {TagWeight::Damage, "no-records", "the file holds no records"}},
    {TagFault::BodyPastEnd,
     {TagWeight::Damage, "body-past-end", "the body extends past the end of the file"}},
    {TagFault::BodyCutShort,
     {TagWeight::Damage, "body-cut", "the body could not be read to its end"}},
    {TagFault::BytesAfterBody,
     {TagWeight::Warning, "after-body", "bytes after the body are not read"}},
    {TagFault::RecordPastEnd,
     {TagWeight::Damage, "record-past-end", "the record extends past its container"}},
    {TagFault::TypePastEnd,
     {TagWeight::Damage, "type-past-end", "the record's type lies outside its container"}},
    {TagFault::BytesAfterRecords,
     {TagWeight::Warning, "after-records", "bytes after the last record are not read"}},
    {TagFault::NamePastRecord,
     {TagWeight::Warning, "name-past-record", "the name extends past its record"}},
    {TagFault::NameWithoutZero,
     {TagWeight::Warning, "name-without-zero", "the name has no zero byte"}},
    {TagFault::BytesAfterName,
     {TagWeight::Warning, "after-name", "bytes after the name's zero byte are not read"}},
    {TagFault::UnknownRecordType,
     {TagWeight::Warning, "unknown-type",
      "the record's type is unknown; it reads as a tag without value"}},
    {TagFault::ValueWithoutType,
     {TagWeight::Warning, "value-without-type", "the value of a record of type none is not read"}},
    {TagFault::OddPayload,
     {TagWeight::Warning, "odd-size", "the payload does not hold whole values"}},
    {TagFault::TextWithoutZero,
     {TagWeight::Warning, "text-without-zero", "the text has no zero byte"}},
    {TagFault::BytesAfterText,
     {TagWeight::Warning, "after-text", "the text has bytes after its first zero byte"}},
    {TagFault::RawBytesLost, {TagWeight::Loss, "raw-bytes", "raw bytes are not written as text"}},
    {TagFault::NameFolded, {TagWeight::Loss, "name-folded", "the name is written differently"}},
    {TagFault::NamesFoldAlike,
     {TagWeight::Loss, "names-alike", "another name in the container is written the same"}},
    {TagFault::NameUnreadable,
     {TagWeight::Loss, "name-unreadable", "the name cannot be read back from text"}},
    {TagFault::FloatRounded,
     {TagWeight::Loss, "float-rounded", "the float has more digits than are written"}},
    {TagFault::ReadsAsOtherType,
     {TagWeight::Loss, "other-type", "the value reads back from text as another type"}},
    {TagFault::ValuesLost,
     {TagWeight::Loss, "values-lost", "only a part of the value is written as text"}},
    {TagFault::KUIDChanged,
     {TagWeight::Loss, "kuid-changed", "the KUID reads back from text as another"}},
    {TagFault::EmptyValueLost,
     {TagWeight::Loss, "empty-value", "an empty value reads back from text as none"}},
    {TagFault::QuoteReplaced,
     {TagWeight::Loss, "quote", "double quotes are written as apostrophes"}},
    {TagFault::LineEndReplaced,
     {TagWeight::Loss, "line-end", "line ends read back from text as CR LF"}},
    {TagFault::NameTooLong, {TagWeight::Loss, "name-too-long", "the name has more than 254 bytes"}},
    {TagFault::EmptyTree,
     {TagWeight::Loss, "no-tags", "a chunk file without records reads back as none"}},
    {TagFault::TooLarge, {TagWeight::Loss, "too-large", "the tree takes more than 4 GiB"}},
    {TagFault::LooksLikeComment,
     {TagWeight::Note, "comment", "texts have no comments; this line is a tag"}},
    {TagFault::LooksLikeThousands,
     {TagWeight::Note, "thousands", "a comma makes a list; this is two numbers, not one"}},
    {TagFault::NumberIsText,
     {TagWeight::Note, "number-as-text", "a '}' on the same line makes this number a text"}},
    {TagFault::NameTwice,
     {TagWeight::Note, "name-twice",
      "the container has this name before; programs find the first"}},
};

// Returns whether each fault has its row, so that the fault is the row's index.
consteval bool HasEveryFaultInOrder() {
    std::size_t next = 0;
    for (const Row& row : kRows) {
        if (static_cast<std::size_t>(row.fault) != next++) return false;
    }
    return next == kTagFaultCount;
}
static_assert(HasEveryFaultInOrder());

}  // namespace

const TagFaultText& DescribeTagFault(TagFault fault) {
    return kRows[static_cast<std::size_t>(fault)].text;
}

std::string Printable(std::string_view text) {
    std::string shown(text.substr(0, kMostShown));
    std::ranges::replace_if(
        shown, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, '.');
    if (text.size() > kMostShown) shown += "...";
    return shown;
}

}  // namespace Vorn
