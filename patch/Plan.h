// What the result of a patch holds, in its order, and where each member comes from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "patch/OldSide.h"
#include "patch/PatchFile.h"

namespace patch {

struct Part {
    enum class From : std::uint8_t {
        Old,      // a member of the old side as it is
        Patch,    // a member that the patch holds
        Diff,     // a member of the old side, changed by the patch
        Nothing,  // without content
    };
    enum class Store : std::uint8_t {
        Copied,  // the stored bytes as they are
        Plain,
        Compressed,
        CompressedIfItSaves,  // see SavesEnough
        PlainIfItSaves,
        AsConverter,  // as the fixed converter stores new members
    };

    From from = From::Nothing;
    Store store = Store::AsConverter;
    std::string_view name;           // as it is to be stored
    std::size_t old = 0;             // number in the old side
    std::size_t held = 0;            // number in the patch
    const Change* change = nullptr;  // null for a member that stays
};

// Borrows names and changes from both. Throws Error if the old side does not have what the patch
// changes, or the manifest describes another result.
[[nodiscard]] std::vector<Part> PlanResult(const OldSide& old, const PatchFile& patch);

// Plans a copy of a side as it is.
[[nodiscard]] std::vector<Part> PlanCopy(const OldSide& side);

}  // namespace patch
