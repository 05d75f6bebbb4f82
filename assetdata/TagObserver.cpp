#include "assetdata/TagObserver.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Vorn {
namespace {

constexpr std::size_t kMostShown = 80;

// By the number of the fault.
constexpr TagFaultText kTexts[] = {
    {false, "a '}' that closes nothing ends the text; what follows is not read"},
    {false, "the text ends before the '}' of a container"},
    {false, "the closing quote is missing; the value runs to the end"},
    {false, "what stands behind a closing quote begins a new tag"},
    {false, "a zero byte ends the text; what follows is not read"},
    {false, "the name has more than 511 bytes and is cut"},
    {false, "no number can be read here; it counts as 0"},
    {false, "the number does not fit; the nearest one is taken"},
    {false, "only a part of this is a number; the rest is dropped"},
    {false, "the list has more than 255 bytes; the rest is dropped"},
    {false, "this is no KUID; the tag gets the null KUID"},
    {false, "this reads as a KUID but is not written like one; the rest is dropped"},
    {true, "not a chunk file: it does not begin with \"OCS$\""},
    {true, "the format version is neither 0 nor 1"},
    {true, "the file holds no records"},
    {true, "the body ends behind the end of the file"},
    {true, "the body could not be read to its end"},
    {false, "bytes behind the body are not read"},
    {true, "the record is longer than what holds it"},
    {true, "the record's type lies outside of what holds it"},
    {false, "bytes behind the last record are not read"},
    {false, "the name is longer than its record"},
    {false, "the name has no zero byte"},
    {false, "bytes behind the name's zero byte are not read"},
    {false, "the record's type is not known; it reads as a tag without value"},
    {false, "the value of a record without type is not read"},
    {false, "the payload does not hold whole values"},
    {false, "the text has no zero byte"},
    {false, "the text has bytes behind its first zero byte"},
    {false, "raw bytes are not written as text"},
    {false, "the name is written differently"},
    {false, "another name of the container is written the same"},
    {false, "the name cannot be read back from text"},
    {false, "the float has more digits than are written"},
    {false, "the value reads back from text as another type"},
    {false, "only a part of the value is written as text"},
    {false, "the KUID reads back from text as another"},
    {false, "an empty value reads back from text as none"},
    {false, "double quotes are written as apostrophes"},
    {false, "line ends read back from text as CR LF"},
    {true, "the name has more than 254 bytes"},
    {false, "a chunk file without records reads back as none"},
    {true, "the tree takes more than 4 GiB"},
};
static_assert(std::size(kTexts) == static_cast<std::size_t>(TagFault::TooLarge) + 1);

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
