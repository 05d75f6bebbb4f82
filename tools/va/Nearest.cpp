#include "tools/va/Nearest.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace va::tool {
namespace {

// Returns the optimal string alignment distance (Damerau 1964, no substring edited twice). Keeps
// only three rows of the table.
std::size_t Distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> before(b.size() + 1);
    std::vector<std::size_t> above(b.size() + 1);
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) above[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = above[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = std::min({replaced, above[j] + 1, row[j - 1] + 1});
            const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
            if (swapped) row[j] = std::min(row[j], before[j - 2] + 1);
        }
        before.swap(above);
        above.swap(row);
    }
    return above[b.size()];
}

}  // namespace

std::string_view Nearest(std::string_view typed, std::span<const std::string_view> names) {
    std::string_view nearest;
    std::size_t least = static_cast<std::size_t>(-1);
    for (const std::string_view name : names) {
        // A beginning of three letters or more counts as near, however long the rest is.
        const bool isStart = typed.size() >= 3 && name.starts_with(typed);
        const std::size_t distance = isStart ? 1 : Distance(typed, name);
        if (distance >= least || distance > std::max<std::size_t>(1, name.size() / 3)) continue;
        nearest = name;
        least = distance;
    }
    return nearest;
}

}  // namespace va::tool
