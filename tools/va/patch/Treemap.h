// Rectangles whose areas show sizes.
#pragma once

#include <span>
#include <vector>

namespace va::tool {

struct Rectangle {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
};

// Cuts `whole` into one rectangle for each size, in their order, with areas in proportion, as
// square as can be: M. Bruls, K. Huizing, J. van Wijk, "Squarified Treemaps" (2000). The sizes are
// above 0 and descend.
[[nodiscard]] std::vector<Rectangle> Squarify(std::span<const double> sizes,
                                              const Rectangle& whole);

}  // namespace va::tool
