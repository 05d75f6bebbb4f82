// Turns a compact patch back into a patch archive that needs nothing but the old side.
#pragma once

#include <memory>
#include <string>

#include "archive/Reader.h"
#include "patch/OldSide.h"
#include "patch/compact/CompactFile.h"

namespace patch::compact {

// Decodes every member and writes a working patch: an archive without a name on the device of
// `folder`, in which the diffs of changed members hold their new contents as they are. PatchFile
// reads it, and gives the result that the maker's patch archive gives. If the old side was not
// `judged`, it is blamed for what does not fit. Throws Error: Refused if it is not the side that
// the patch was made from, or the patch is damaged; NoMemory if a member needs more than
// `memoryLimit` bytes; NoSpace; Cancelled.
[[nodiscard]] std::unique_ptr<archive::Reader> ExpandForUse(const CompactFile& patch,
                                                            const OldSide& old,
                                                            const std::string& folder, bool judged,
                                                            std::uint64_t memoryLimit,
                                                            const ProgressFunction& progress);

// Writes a working patch that changes nothing, for copying a side.
[[nodiscard]] std::unique_ptr<archive::Reader> NothingForUse(const std::string& folder);

}  // namespace patch::compact
