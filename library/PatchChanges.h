// What a patch changes, in the words of the public headers.
#pragma once

#include <cstdint>
#include <vector>

#include "patch/PatchFile.h"
#include "vaconverter/patch.h"

namespace va {

[[nodiscard]] std::vector<MemberChange> ChangesOf(const patch::PatchFile& patchFile);

// Returns how many members of an old side with `oldMembers` change in which way.
[[nodiscard]] PatchCounts CountsOf(const std::vector<MemberChange>& changes,
                                   std::uint64_t oldMembers);

}  // namespace va
