// Which members of two sides belong together, and which of these pairs are equal.
#pragma once

#include <cstdint>
#include <vector>

#include "patch/Input.h"
#include "patch/Meter.h"
#include "patch/Sha256.h"

namespace patch {

using Number = std::uint32_t;  // of a member of a side's tree

struct Pair {
    Number old;
    Number fresh;
    bool same = false;
    // Of two archives that both store the content in the same bytes with the same numbers.
    bool storedAlike = false;
};

struct Pairs {
    std::vector<Pair> both;       // in the order of the new side
    std::vector<Number> added;    // of the new side; numbers ascend
    std::vector<Number> removed;  // of the old side; numbers ascend
};

// Pairs members of one name. One whose letter case differs is removed and added, so that the result
// has the new name. Throws Error (Refused) naming members of one side that an archive treats as
// one: a patch could not name one of them alone.
[[nodiscard]] Pairs PairMembers(const Input& old, const Input& fresh);

// The digests of contents, by the members' numbers. Zero where they are not known yet.
struct SideDigests {
    std::vector<Sha256Digest> old;
    std::vector<Sha256Digest> fresh;
};

// Sets Pair::same and storedAlike. Pairs that are stored alike are compared as they are stored.
// With `digests`, sets those of all equal pairs: their contents are then read, one for both. Throws
// Error for damaged members, and what `progress` throws.
void ComparePairs(const Input& old, const Input& fresh, Pairs& pairs, SideDigests* digests,
                  unsigned threads, const ProgressFunction& progress);

}  // namespace patch
