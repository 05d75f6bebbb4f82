// The working folder of patchdiff, which is deleted at the end of a run.
#pragma once

#include <string_view>

// Whether a folder is missing or holds nothing but what an earlier run may have left: folders,
// files that end in ".diff", and `patchFile` in the folder itself.
[[nodiscard]] bool HoldsOnlyLeftovers(std::string_view folder, std::string_view patchFile);
