#pragma once

#include "delta/Buffer.h"

namespace vdiff {

// The new file that `diff` makes of `oldFile`, checked. Throws PatchError (DamagedDiff,
// WrongOldFile). Takes the declared new size and a fixed amount of memory (below 70 MB), whatever
// the diff says.
[[nodiscard]] Buffer ApplyDiff(ByteView oldFile, ByteView diff);

}  // namespace vdiff
