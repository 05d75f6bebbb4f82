// Findings about tags of a tree in memory.
#pragma once

#include "assetdata/TagObserver.h"
#include "assetdata/TagWalk.h"

namespace Vorn {

// About the tag that the walk has entered: its path, and its offset when a chunk file holds it.
[[nodiscard]] TagFinding FindingAt(TagFault fault, const TagWalk& walk);

}  // namespace Vorn
