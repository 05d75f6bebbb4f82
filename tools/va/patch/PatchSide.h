// Operands and formatting that the patch commands share.
#pragma once

#include <string>

#include "tools/va/Run.h"
#include "vaconverter/patch.h"

namespace va::tool {

struct PatchOperands {
    std::string target;
    std::string patch;
};
// Returns the operands TARGET and PATCH, which may come in either order: the one with patch lists
// is PATCH. Throws Failure if PATCH is a folder.
[[nodiscard]] PatchOperands SortOperands(const Run& run);

// Returns "old", "new", "neither" or "damaged".
[[nodiscard]] const char* NameOf(Verdict::Side side);

// Returns "12 same  3 changed  1 added"; omits kinds that do not occur, except "same".
[[nodiscard]] std::string ShownCounts(const PatchCounts& counts);

// Returns "changed", "added", "moved", "removed" or "empty".
[[nodiscard]] const char* WordOf(MemberChange::Kind kind);

// Writes the members that a verdict names: as messages with -v, as objects with --json.
void WriteSuspects(Run& run, const Verdict& verdict);

}  // namespace va::tool
