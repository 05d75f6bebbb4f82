// What is odd in a chunk file that can be read all the same.
#pragma once

#include <cstddef>
#include <span>

#include "assetdata/TagObserver.h"

namespace Vorn {

// Looks at every record of a checked body.
void FindChunkOddities(std::span<const std::byte> body, TagObserver& observer);

}  // namespace Vorn
