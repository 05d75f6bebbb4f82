// Makes a diff: tries the methods of a plan and keeps the smallest result.
#pragma once

#include "delta/MakePlan.h"
#include "delta/Workspace.h"

namespace delta {

// Makes the smallest diff of a pair that `plan` allows. The result lies in parts.best and is valid
// until `parts` is used again. Throws std::bad_alloc.
[[nodiscard]] ByteView Make(ByteView oldFile, ByteView newFile, Workspace::Parts& parts,
                            const MakePlan& plan);

}  // namespace delta
