// What differs between two archives or folders.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vaconverter/archive.h"

namespace va {

struct Difference {
    enum class Kind { Added, Removed, Changed, Renamed };

    Kind kind = Kind::Changed;
    std::string name;     // in B; in A for what was removed
    std::string oldName;  // in A, where it differs: renamed members
    std::uint64_t oldSize = 0;
    std::uint64_t newSize = 0;
};

struct Comparison {
    std::vector<Difference> differences;  // by name, in the byte order of the lower-case names
    std::uint64_t same = 0;               // members that are equal
};

// Compares the members of two sides by name, letter case ignored, and by content. A
// member that was removed and one of the same content that was added are one that was renamed.
// Throws Error for a member that cannot be read.
[[nodiscard]] Comparison Compare(const Archive& a, const Archive& b, unsigned threads = 1,
                                 const ProgressFunction& progress = {});

}  // namespace va
