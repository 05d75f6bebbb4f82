// How a result is laid out: what the lines "order" and "stored" of a manifest mean.
//
// The maker describes the layout of NEW in the shortest way; the program that applies the patch
// lays out the same members in the same way. Both list the members of the new side in the canonical
// order, and their numbers are places in that list.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "archive/Stream.h"
#include "patch/Manifest.h"

namespace patch {

struct LaidMember {
    std::uint64_t bytes = 0;  // of content
    // The place in the order of the old side, of its member of that name (SameName).
    std::optional<std::uint32_t> oldPlace;
    bool unchanged = false;  // in none of the manifest's lists
    // For unchanged members of an old archive: whether that stores a compressed stream.
    std::optional<bool> oldCompressed;
};

// Returns the members' numbers in the order of the result. There must be as many members as the
// manifest says that the new side has.
[[nodiscard]] std::vector<std::uint32_t> OrderOf(const Order& order,
                                                 std::span<const LaidMember> members);

// Describes an order, given as the members' numbers, with the fewest runs.
[[nodiscard]] Order DescribeOrder(std::span<const std::uint32_t> numbers,
                                  std::span<const LaidMember> members);

enum class StoreAs {
    Plain,
    Compressed,
    // Members for which SavesEnough must be asked, and those for which its answer is turned around.
    CompressedIfItSaves,
    PlainIfItSaves,
};

// Returns for each member how the result stores it.
[[nodiscard]] std::vector<StoreAs> StorageOf(const Storage& storage,
                                             std::span<const LaidMember> members);

using archive::SavesEnough;

// Describes which members are stored compressed, with the fewest runs that it finds. `saves` is
// called at most once for a member, and only for those whose answer is needed: it may have to
// compress. Members without content are always plain.
[[nodiscard]] Storage DescribeStorage(const std::vector<bool>& compressed,
                                      std::span<const LaidMember> members,
                                      const std::function<bool(std::uint32_t)>& saves);

}  // namespace patch
