// Compares two archives or folders.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vaconverter/archive.h"

namespace va {

struct Difference {
    enum class Kind { Added, Removed, Changed, Renamed };

    Kind kind = Kind::Changed;
    std::string name;     // in B; for a removed member, in A
    std::string oldName;  // in A, for a renamed member
    std::uint64_t oldSize = 0;
    std::uint64_t newSize = 0;
};

struct Comparison {
    std::vector<Difference> differences;  // by name, in the byte order of the lower-case names
    std::uint64_t same = 0;               // number of equal members
};

// Compares the members of two sides by content, matching their names without regard to letter case.
// A removed member and an added one of the same content count as one renamed member. Throws Error
// if a member cannot be read, and (Refused) if several members of a side have one name.
[[nodiscard]] Comparison Compare(const Archive& a, const Archive& b, unsigned threads = 1,
                                 const ProgressFunction& progress = {});

}  // namespace va
