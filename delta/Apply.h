// Applies a diff of any method, with the caller's memory.
#pragma once

#include "delta/DiffFormat.h"
#include "delta/Workspace.h"

namespace delta {

// Applies `diff` to `oldFile`, verifies the check of the result and returns it; it lies in
// parts.applied. Throws Error (Damaged, WrongOld, TooLarge) and std::bad_alloc. Takes the declared
// new size and less than 70 MB of memory besides, whatever the diff declares.
[[nodiscard]] ByteView Apply(ByteView oldFile, ByteView diff, Workspace::Parts& parts,
                             std::uint64_t sizeLimit);

// Returns an upper bound of the memory that Apply holds, in bytes, its result included.
[[nodiscard]] std::uint64_t MemoryToApply(const Header& header);

}  // namespace delta
