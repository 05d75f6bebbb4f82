#pragma once

#include "patch/OldSide.h"
#include "patch/compact/CompactFile.h"

namespace patch::compact {

// Reads every member of a side and tells which side of the patch it is, as OldSide::Judge does for
// a patch archive. A compact patch has no digests of single members: of an altered copy it names
// those that share a spot with the altered one. Throws Error for a folder that cannot be read;
// Cancelled.
[[nodiscard]] Verdict JudgeSide(const OldSide& side, const CompactFile& patch, unsigned threads,
                                const ProgressFunction& progress);

}  // namespace patch::compact
