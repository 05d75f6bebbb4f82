// The name that a person most likely meant.
#pragma once

#include <span>
#include <string_view>

namespace va::tool {

// Returns the name of `names` that is nearest to `typed` by single letters inserted, left out,
// replaced or two neighbours swapped; empty when even that one is too far away to be meant (more
// than a third of its letters).
[[nodiscard]] std::string_view Nearest(std::string_view typed,
                                       std::span<const std::string_view> names);

}  // namespace va::tool
