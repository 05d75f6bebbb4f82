// Writing of chunk files (docs/formats/chunk.md) from any tag tree.
#pragma once

#include "assetdata/OCSChunk.h"
#include "assetdata/TStream.h"
#include "assetdata/TagObserver.h"

namespace Vorn {

// Writes header and records of the children of `root` at the stream's position. Everything is
// measured first: false, and not a byte written, when a name has more than 254 bytes or a size
// passes 4 GiB, which the observer is told; false as well when not all could be written.
[[nodiscard]] bool WriteChunkFile(const OCSChunk& root, TStream& stream,
                                  TagObserver* observer = nullptr);

}  // namespace Vorn
