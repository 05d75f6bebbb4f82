// Finds the name that a user most likely meant.
#pragma once

#include <span>
#include <string_view>

namespace va::tool {

// Returns the name that is nearest to `typed`, counting letters that are inserted, deleted,
// replaced or swapped with a neighbour. Empty if even that name differs in more than a third of its
// letters.
[[nodiscard]] std::string_view Nearest(std::string_view typed,
                                       std::span<const std::string_view> names);

}  // namespace va::tool
