// Writes chunk files (docs/formats/chunk.md) from any tag tree.
#pragma once

#include "assetdata/OCSChunk.h"
#include "assetdata/TStream.h"
#include "assetdata/TagObserver.h"

namespace Vorn {

// Writes the header, and the records of the children of `root`, at the stream's position. Sizes are
// computed first: if a name has more than 254 bytes or a size exceeds 4 GiB, reports that to the
// observer, writes nothing and returns false. Also returns false if not all could be written.
[[nodiscard]] bool WriteChunkFile(const OCSChunk& root, TStream& stream,
                                  TagObserver* observer = nullptr);

}  // namespace Vorn
