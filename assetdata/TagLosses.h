// Reports what one form of a tag tree cannot represent.
#pragma once

#include "assetdata/OCSChunk.h"
#include "assetdata/TagObserver.h"

namespace Vorn {

// Reports everything that would change if the tree were written as text and read back. Findings
// have the path of the tag, and the offset for tags of a chunk file.
void FindTextLosses(const OCSChunk& root, TagObserver& observer);

// Reports what writing a tree as a chunk file and reading it back would change.
void FindChunkLosses(const OCSChunk& root, TagObserver& observer);

}  // namespace Vorn
