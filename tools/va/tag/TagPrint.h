// Tags and their values as a person reads them, exactly.
//
// Control characters in names and texts of a file are never written as they are, but by
// PrintValue for a text of its own.
#pragma once

#include <iosfwd>

#include "assetdata/OCSChunk.h"

namespace va::tool {

// Every tag below `root`, one line each, containers between braces, indented up to 40 levels:
//
//   mass                                    12
//   mesh-table {
//     mesh                                  "body.im"
//   }
//
// A float has as many digits as tell it apart, and a '.'; of raw bytes the first 64 are shown.
void PrintTree(std::ostream& out, const Vorn::OCSChunk& root);

// The value of one tag for other programs: a text as it is, numbers and identifiers joined by ',',
// raw bytes in hex; a line end behind it. A container is printed as a tree, and nothing for a tag
// without a value.
void PrintValue(std::ostream& out, const Vorn::OCSChunk& tag);

}  // namespace va::tool
