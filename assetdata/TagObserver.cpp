#include "assetdata/TagObserver.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Vorn {
namespace {

constexpr std::size_t kMostShown = 80;

// Indexed by TagFault.
constexpr TagFaultText kTexts[] = {
    {TagWeight::Warning, "a '}' that closes nothing ends the text; what follows is not read"},
    {TagWeight::Warning, "the text ends before the '}' of a container"},
    {TagWeight::Warning, "the closing quote is missing; the value runs to the end"},
    {TagWeight::Warning, "text after a closing quote starts a new tag"},
    {TagWeight::Warning, "a zero byte ends the text; what follows is not read"},
    {TagWeight::Warning, "the name has more than 511 bytes and is cut"},
    {TagWeight::Warning, "no number can be read here; it counts as 0"},
    {TagWeight::Warning, "the number does not fit; the nearest one is taken"},
    {TagWeight::Warning, "only a part of this is a number; the rest is dropped"},
    {TagWeight::Warning, "the list has more than 255 bytes; the rest is dropped"},
    {TagWeight::Warning, "this is not a KUID; the tag gets the null KUID"},
    {TagWeight::Warning, "this reads as a KUID but is not written like one; the rest is dropped"},
    {TagWeight::Warning, "the KUID's user number does not fit and becomes another"},
    {TagWeight::Loss, "the number has more digits than a float holds"},
    {TagWeight::Loss, "capital letters of the name become small ones"},
    {TagWeight::Damage, "not a chunk file: it does not begin with \"OCS$\""},
    {TagWeight::Damage, "the format version is neither 0 nor 1"},
    {TagWeight::Damage, "the file holds no records"},
    {TagWeight::Damage, "the body extends past the end of the file"},
    {TagWeight::Damage, "the body could not be read to its end"},
    {TagWeight::Warning, "bytes after the body are not read"},
    {TagWeight::Damage, "the record extends past its container"},
    {TagWeight::Damage, "the record's type lies outside its container"},
    {TagWeight::Warning, "bytes after the last record are not read"},
    {TagWeight::Warning, "the name extends past its record"},
    {TagWeight::Warning, "the name has no zero byte"},
    {TagWeight::Warning, "bytes after the name's zero byte are not read"},
    {TagWeight::Warning, "the record's type is unknown; it reads as a tag without value"},
    {TagWeight::Warning, "the value of a record of type none is not read"},
    {TagWeight::Warning, "the payload does not hold whole values"},
    {TagWeight::Warning, "the text has no zero byte"},
    {TagWeight::Warning, "the text has bytes after its first zero byte"},
    {TagWeight::Loss, "raw bytes are not written as text"},
    {TagWeight::Loss, "the name is written differently"},
    {TagWeight::Loss, "another name in the container is written the same"},
    {TagWeight::Loss, "the name cannot be read back from text"},
    {TagWeight::Loss, "the float has more digits than are written"},
    {TagWeight::Loss, "the value reads back from text as another type"},
    {TagWeight::Loss, "only a part of the value is written as text"},
    {TagWeight::Loss, "the KUID reads back from text as another"},
    {TagWeight::Loss, "an empty value reads back from text as none"},
    {TagWeight::Loss, "double quotes are written as apostrophes"},
    {TagWeight::Loss, "line ends read back from text as CR LF"},
    {TagWeight::Loss, "the name has more than 254 bytes"},
    {TagWeight::Loss, "a chunk file without records reads back as none"},
    {TagWeight::Loss, "the tree takes more than 4 GiB"},
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
