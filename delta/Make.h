#pragma once

#include "delta/MakePlan.h"
#include "delta/Workspace.h"

namespace delta {

// Makes the smallest diff of a pair that `plan` allows; it lies in parts.best. Throws
// std::bad_alloc.
[[nodiscard]] ByteView Make(ByteView oldFile, ByteView newFile, Workspace::Parts& parts,
                            const MakePlan& plan);

}  // namespace delta
