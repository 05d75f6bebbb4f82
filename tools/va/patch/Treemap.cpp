#include "tools/va/patch/Treemap.h"

#include <algorithm>
#include <numeric>

namespace va::tool {
namespace {

// Returns the worst aspect ratio of the tiles in a row of this length. Sizes descend, so only the
// first and the last tile matter.
double WorstRatio(double first, double last, double sum, double length) {
    const double square = sum * sum;
    const double edge = length * length;
    return std::max(edge * first / square, square / (edge * last));
}

}  // namespace

std::vector<Rectangle> Squarify(std::span<const double> sizes, const Rectangle& whole) {
    std::vector<Rectangle> tiles;
    tiles.reserve(sizes.size());
    Rectangle left = whole;
    double bytesLeft = std::accumulate(sizes.begin(), sizes.end(), 0.0);
    while (!sizes.empty()) {
        const double scale = left.width * left.height / bytesLeft;
        const double length = std::min(left.width, left.height);
        // Adds tiles to the row along the shorter side as long as that makes them squarer.
        std::size_t count = 1;
        double sum = sizes[0];
        while (count < sizes.size() &&
               WorstRatio(sizes[0] * scale, sizes[count] * scale, (sum + sizes[count]) * scale,
                          length) <=
                   WorstRatio(sizes[0] * scale, sizes[count - 1] * scale, sum * scale, length)) {
            sum += sizes[count++];
        }
        const bool upright = left.width >= left.height;
        const double depth = length > 0 ? sum * scale / length : 0;
        double at = upright ? left.y : left.x;
        for (const double size : sizes.first(count)) {
            const double extent = length * (size / sum);
            tiles.push_back(upright ? Rectangle{left.x, at, depth, extent}
                                    : Rectangle{at, left.y, extent, depth});
            at += extent;
        }
        (upright ? left.x : left.y) += depth;
        double& across = upright ? left.width : left.height;
        across = std::max(0.0, across - depth);
        bytesLeft -= sum;
        sizes = sizes.subspan(count);
    }
    return tiles;
}

}  // namespace va::tool
