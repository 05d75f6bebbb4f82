// Oddities in a chunk file that do not prevent reading it.
#pragma once

#include <cstddef>
#include <span>

#include "assetdata/TagObserver.h"

namespace Vorn {

// Reports the oddities of every record of a checked body.
void FindChunkOddities(std::span<const std::byte> body, TagObserver& observer);

}  // namespace Vorn
