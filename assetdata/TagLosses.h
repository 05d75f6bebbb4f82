// What one form of a tag tree cannot hold.
#pragma once

#include "assetdata/OCSChunk.h"
#include "assetdata/TagObserver.h"

namespace Vorn {

// Tells everything of the tree that would not be the same after it was written as text and read
// back. Findings carry the path of the tag, and the offset for tags of a chunk file.
void FindTextLosses(const OCSChunk& root, TagObserver& observer);

// The same for the chunk form.
void FindChunkLosses(const OCSChunk& root, TagObserver& observer);

}  // namespace Vorn
