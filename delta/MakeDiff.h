#pragma once

#include "delta/Buffer.h"

namespace vdiff {

// A finished diff in two parts. The payload is a view of `owned` or of the new file.
struct Diff {
    ByteBuffer head;
    Buffer owned{0};
    ByteView payload;
};

// The smallest diff that any of the methods makes; the same inputs give the same bytes.
// Borrows `newFile` for the result. Throws PatchError (TooLarge) and std::bad_alloc.
[[nodiscard]] Diff MakeDiff(ByteView oldFile, ByteView newFile);

}  // namespace vdiff
