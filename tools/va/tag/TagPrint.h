// Tags and their values as a person reads them, exactly.
//
// Control characters in names and texts of a file are written as they are only in ValueText.
#pragma once

#include <string>

#include "assetdata/OCSChunk.h"
#include "tools/va/Answer.h"

namespace va::tool {

// Writes every tag below `root`, one line each, containers between braces, indented up to 40
// levels:
//
//   mass                                    12
//   mesh-table {
//     mesh                                  "body.im"
//   }
//
// A float has as many digits as tell it apart, and a '.'; of raw bytes the first 64 are shown.
void PrintTree(Answer& answer, const Vorn::OCSChunk& root);

// Returns the value of one tag for other programs: a text as it is, numbers and identifiers joined
// by ',', raw bytes in hex; empty for a tag without a value, and for a container.
[[nodiscard]] std::string ValueText(const Vorn::OCSChunk& tag);

// Writes ValueText and a line end; a container as a tree, and nothing for a tag without a value.
void PrintValue(Answer& answer, const Vorn::OCSChunk& tag);

// Returns the value as PrintTree shows it, by which one sees its type: 1.0, "text", raw 01ab.
[[nodiscard]] std::string ShownValue(const Vorn::OCSChunk& tag);

}  // namespace va::tool
