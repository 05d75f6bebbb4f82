// The three lists of a patch: member names with their digests.
//
// A list is text: per member its name, then one or two digests, each on a line of its own that ends
// in a single line feed. There is no header and no count; an empty list has no bytes.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "kernel/InternedString.h"

// Member name to digest text, in the byte order of the names. A patched member has the text of the
// old and of the new digest, a line feed between them.
using MemberMap = std::map<Vorn::InternedString, Vorn::InternedString, Vorn::InternedLess>;

inline constexpr const char* kAddedList = "addedFiles.txt";
inline constexpr const char* kDeletedList = "deletedFiles.txt";
inline constexpr const char* kPatchedList = "patchedFiles.txt";

// Whether archives would take a name, in any letter case, for a list's.
[[nodiscard]] bool IsListName(const char* name);

// The bytes of a list.
[[nodiscard]] std::string FormatList(const MemberMap& members);

// Adds the records of a list to `members`: a name and `digestLines` lines each. One digest is kept
// as it is; of two, each is followed by a line feed. A record with an empty line is dropped, a
// later one replaces an earlier one of its name. Nothing but the line feed is special.
void ParseList(std::string_view text, int digestLines, MemberMap& members);

// The first digest of a patched member's value.
[[nodiscard]] Vorn::InternedString FirstDigest(const Vorn::InternedString& value);
