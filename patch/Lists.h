// The three lists of a patch (docs/formats/patch.md): member names with the digests of their
// contents.
//
// A list is text without a header: for each member its name, then one or two digests, each on a
// line that ends in a single line feed. An empty list has no bytes.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace patch {

// Member name to digests, in the byte order of the names. Two digests are the old and the new one,
// with a line feed between them.
using List = std::map<std::string, std::string, std::less<>>;

// Fixed: the names of the list members.
inline constexpr const char* kAddedList = "addedFiles.txt";
inline constexpr const char* kDeletedList = "deletedFiles.txt";
inline constexpr const char* kPatchedList = "patchedFiles.txt";

// Returns whether an archive would treat `name` as the name of a list, in any letter case.
[[nodiscard]] bool IsListName(std::string_view name);

// Returns the bytes of a list.
[[nodiscard]] std::string FormatList(const List& list);

// Returns the records of a list, whose members have `digestLines` digests each. A record with an
// empty line is dropped, and a later one replaces an earlier one of its name. Nothing but the line
// feed is special.
[[nodiscard]] List ParseList(std::string_view text, int digestLines);

// Returns the old digest of a record with two.
[[nodiscard]] std::string_view OldDigest(std::string_view digests);

}  // namespace patch
