// How much memory it takes to make a member of a patch.
#pragma once

#include <cstdint>

#include "patch/MemberMaker.h"

namespace patch {

// Borrows the sides. Serves any number of threads.
class MemberMemory {
public:
    MemberMemory(const Input& old, const Input& fresh, const MakerLimits& limits)
        : old_(old), fresh_(fresh), limits_(limits) {}

    // Returns the least limit with which MemberMaker makes a member, in bytes.
    [[nodiscard]] std::uint64_t Least(const Carried& member) const;

    // Returns how many bytes that takes at most under the limit, which must be at least Least.
    [[nodiscard]] std::uint64_t ToMake(const Carried& member) const;

    // Returns what the diff of a member may use: the rest of the limit.
    [[nodiscard]] delta::Options DeltaOptions(const Carried& member) const;

private:
    [[nodiscard]] std::uint64_t BesideDiff(const Carried& member) const;

    const Input& old_;
    const Input& fresh_;
    const MakerLimits limits_;
};

}  // namespace patch
