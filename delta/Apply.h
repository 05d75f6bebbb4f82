// The way back from a diff of any method to the new file, with the memory of the caller.
#pragma once

#include "delta/DiffFormat.h"
#include "delta/Workspace.h"

namespace delta {

// Returns the new file that `diff` makes of `oldFile`, checked; it lies in parts.applied. Throws
// Error (Damaged, WrongOld, TooLarge) and std::bad_alloc. Beside the declared new size it takes
// less than 70 MB of memory, whatever the diff declares.
[[nodiscard]] ByteView Apply(ByteView oldFile, ByteView diff, Workspace::Parts& parts,
                             std::uint64_t sizeLimit);

// Returns an upper bound of the bytes that Apply holds, its result included.
[[nodiscard]] std::uint64_t MemoryToApply(const Header& header);

}  // namespace delta
