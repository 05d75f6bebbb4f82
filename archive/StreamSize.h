// Whether a content should be stored as a compressed stream.
#pragma once

#include <cstddef>

#include "archive/Tree.h"

namespace archive {

// Returns whether a member's content is worth a stream: that saves 2 % (SavesEnough), or the
// content begins with the mark of one, which some readers would expand. Reads and packs all of it,
// a block at a time. Throws Error.
[[nodiscard]] bool IsWorthAStream(const Tree& tree, std::size_t number);

}  // namespace archive
