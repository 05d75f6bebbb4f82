#include "assetdata/TagObserver.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Vorn {
namespace {

constexpr std::size_t kMostShown = 80;

// Indexed by TagFault.
constexpr TagFaultText kTexts[] = {
    {TagWeight::Warning, "stray-brace",
     "a '}' that closes nothing ends the text; what follows is not read"},
    {TagWeight::Warning, "missing-brace", "the text ends before the '}' of a container"},
    {TagWeight::Warning, "missing-quote",
     "the closing quote is missing; the value runs to the end"},
    {TagWeight::Warning, "after-quote", "text after a closing quote starts a new tag"},
    {TagWeight::Warning, "zero-byte", "a zero byte ends the text; what follows is not read"},
    {TagWeight::Warning, "name-cut", "the name has more than 511 bytes and is cut"},
    {TagWeight::Warning, "no-number", "no number can be read here; it counts as 0"},
    {TagWeight::Warning, "number-range", "the number does not fit; the nearest one is taken"},
    {TagWeight::Warning, "number-cut", "only a part of this is a number; the rest is dropped"},
    {TagWeight::Warning, "list-cut", "the list has more than 255 bytes; the rest is dropped"},
    {TagWeight::Warning, "bad-kuid", "this is not a KUID; the tag gets the null KUID"},
    {TagWeight::Warning, "inexact-kuid",
     "this reads as a KUID but is not written like one; the rest is dropped"},
    {TagWeight::Warning, "kuid-range", "the KUID's user number does not fit and becomes another"},
    {TagWeight::Loss, "number-rounded", "the number has more digits than a float holds"},
    {TagWeight::Loss, "name-lowered", "capital letters of the name become small ones"},
    {TagWeight::Damage, "not-binary", "not a chunk file: it does not begin with \"OCS$\""},
    {TagWeight::Damage, "version", "the format version is neither 0 nor 1"},
    {TagWeight::Damage, "no-records", "the file holds no records"},
    {TagWeight::Damage, "body-past-end", "the body extends past the end of the file"},
    {TagWeight::Damage, "body-cut", "the body could not be read to its end"},
    {TagWeight::Warning, "after-body", "bytes after the body are not read"},
    {TagWeight::Damage, "record-past-end", "the record extends past its container"},
    {TagWeight::Damage, "type-past-end", "the record's type lies outside its container"},
    {TagWeight::Warning, "after-records", "bytes after the last record are not read"},
    {TagWeight::Warning, "name-past-record", "the name extends past its record"},
    {TagWeight::Warning, "name-without-zero", "the name has no zero byte"},
    {TagWeight::Warning, "after-name", "bytes after the name's zero byte are not read"},
    {TagWeight::Warning, "unknown-type",
     "the record's type is unknown; it reads as a tag without value"},
    {TagWeight::Warning, "value-without-type", "the value of a record of type none is not read"},
    {TagWeight::Warning, "odd-size", "the payload does not hold whole values"},
    {TagWeight::Warning, "text-without-zero", "the text has no zero byte"},
    {TagWeight::Warning, "after-text", "the text has bytes after its first zero byte"},
    {TagWeight::Loss, "raw-bytes", "raw bytes are not written as text"},
    {TagWeight::Loss, "name-folded", "the name is written differently"},
    {TagWeight::Loss, "names-alike", "another name in the container is written the same"},
    {TagWeight::Loss, "name-unreadable", "the name cannot be read back from text"},
    {TagWeight::Loss, "float-rounded", "the float has more digits than are written"},
    {TagWeight::Loss, "other-type", "the value reads back from text as another type"},
    {TagWeight::Loss, "values-lost", "only a part of the value is written as text"},
    {TagWeight::Loss, "kuid-changed", "the KUID reads back from text as another"},
    {TagWeight::Loss, "empty-value", "an empty value reads back from text as none"},
    {TagWeight::Loss, "quote", "double quotes are written as apostrophes"},
    {TagWeight::Loss, "line-end", "line ends read back from text as CR LF"},
    {TagWeight::Loss, "name-too-long", "the name has more than 254 bytes"},
    {TagWeight::Loss, "no-tags", "a chunk file without records reads back as none"},
    {TagWeight::Loss, "too-large", "the tree takes more than 4 GiB"},
    {TagWeight::Note, "comment", "texts have no comments; this line is a tag"},
    {TagWeight::Note, "thousands", "a comma makes a list; this is two numbers, not one"},
    {TagWeight::Note, "number-as-text", "a '}' on the same line makes this number a text"},
    {TagWeight::Note, "name-twice", "the container has this name before; programs find the first"},
};
static_assert(std::size(kTexts) == kTagFaultCount);

}  // namespace

const TagFaultText& DescribeTagFault(TagFault fault) {
    return kTexts[static_cast<std::size_t>(fault)];
}

std::string Printable(std::string_view text) {
    std::string shown(text.substr(0, kMostShown));
    std::ranges::replace_if(
        shown, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, '.');
    if (text.size() > kMostShown) shown += "...";
    return shown;
}

}  // namespace Vorn
