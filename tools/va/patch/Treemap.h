// Lays out rectangles with areas in proportion to sizes.
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

// Divides `whole` into one rectangle for each size, in order, with areas in proportion and shapes
// close to squares: M. Bruls, K. Huizing, J. van Wijk, "Squarified Treemaps" (2000). The sizes must
// be above 0 and descend.
[[nodiscard]] std::vector<Rectangle> Squarify(std::span<const double> sizes,
                                              const Rectangle& whole);

}  // namespace va::tool
