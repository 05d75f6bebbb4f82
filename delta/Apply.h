#pragma once

#include "delta/DiffFormat.h"
#include "delta/Workspace.h"

namespace delta {

// The new file that `diff` makes of `oldFile`, checked; it lies in parts.applied. Throws Error
// (Damaged, WrongOld, TooLarge) and std::bad_alloc. Takes the declared new size and a fixed amount
// of memory (below 70 MB), whatever the diff says.
[[nodiscard]] ByteView Apply(ByteView oldFile, ByteView diff, Workspace::Parts& parts,
                             std::uint64_t sizeLimit);

// Upper bound of what Apply holds, its result included.
[[nodiscard]] std::uint64_t MemoryToApply(const Header& header);

}  // namespace delta
