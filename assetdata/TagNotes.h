#pragma once

#include "assetdata/OCSChunk.h"
#include "assetdata/TagObserver.h"

namespace Vorn {

// Reports what is legal in a tree of either form and likely a mistake: tags that programs do not
// find by their name, because an earlier one in the container has it. Tags that look like comments
// are not reported: programs are meant to skip them.
void FindTagNotes(const OCSChunk& root, TagObserver& observer);

}  // namespace Vorn
