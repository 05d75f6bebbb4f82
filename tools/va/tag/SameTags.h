// Compares two trees of tags.
#pragma once

#include "assetdata/OCSChunk.h"

namespace va::tool {

// Returns whether two trees have the same names, types and values in the same order.
[[nodiscard]] bool SameTags(const Vorn::OCSChunk& a, const Vorn::OCSChunk& b);

}  // namespace va::tool
