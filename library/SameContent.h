// Whether two contents are equal, piece by piece.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>

namespace va {

// `nextA` and `nextB` give pieces, which may be cut differently, and an empty one at the end; both
// are read to their ends, since damage must not pass for a difference. `count` is called with
// the number of bytes that were compared.
template <typename NextA, typename NextB, typename Count>
bool SameContent(const NextA& nextA, const NextB& nextB, const Count& count) {
    bool same = true;
    std::span<const std::byte> pieceA;
    std::span<const std::byte> pieceB;
    for (;;) {
        if (pieceA.empty()) pieceA = nextA();
        if (pieceB.empty()) pieceB = nextB();
        const std::size_t both = std::min(pieceA.size(), pieceB.size());
        if (both == 0) return same && pieceA.empty() && pieceB.empty();
        same = same && std::memcmp(pieceA.data(), pieceB.data(), both) == 0;
        pieceA = pieceA.subspan(both);
        pieceB = pieceB.subspan(both);
        count(both);
    }
}

}  // namespace va
