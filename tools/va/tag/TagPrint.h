// Shows tags and their exact values to people.
//
// Control characters in names and texts are escaped, except in ValueText.
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
// A float has as many digits as it needs to be read back exactly, and a '.'. Only the first 64 raw
// bytes are shown.
void PrintTree(Answer& answer, const Vorn::OCSChunk& root);

// Returns the value of one tag for other programs: a text as it is, numbers and identifiers joined
// by ',', raw bytes in hex; empty for a tag without a value, and for a container.
[[nodiscard]] std::string ValueText(const Vorn::OCSChunk& tag);

// Writes ValueText and a line end; for a container its tree, for a tag without a value nothing.
void PrintValue(Answer& answer, const Vorn::OCSChunk& tag);

// Returns the value as PrintTree shows it, in a form that shows its type: 1.0, "text", raw 01ab.
[[nodiscard]] std::string ShownValue(const Vorn::OCSChunk& tag);

}  // namespace va::tool
