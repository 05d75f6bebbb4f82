#pragma once

#include "delta/MakePlan.h"
#include "delta/Workspace.h"

namespace delta {

// Makes the diff of a pair as `plan` allows; the result lies in parts.best.
// Throws std::bad_alloc.
[[nodiscard]] ByteView Make(ByteView oldFile, ByteView newFile, Workspace::Parts& parts,
                            const MakePlan& plan);

}  // namespace delta
