// What the commands on patches share.
#pragma once

#include <string>

#include "tools/va/Run.h"
#include "vaconverter/patch.h"

namespace va::tool {

// The operands TARGET and PATCH, in either order: lists tell the patch. Throws Failure when PATCH
// is a folder.
struct PatchOperands {
    std::string target;
    std::string patch;
};
[[nodiscard]] PatchOperands SortOperands(const Run& run);

// Returns "old", "new", "neither" or "damaged".
[[nodiscard]] const char* NameOf(Verdict::Side side);

// Returns "12 same  3 changed  1 added": kinds that do not occur are omitted, but for the first.
[[nodiscard]] std::string ShownCounts(const PatchCounts& counts);

// Returns "changed", "added", "moved", "removed" or "empty".
[[nodiscard]] const char* WordOf(MemberChange::Kind kind);

// Writes the members that a verdict names: as lines with -v, as objects with --json.
void WriteSuspects(Run& run, const Verdict& verdict);

}  // namespace va::tool
