#include "KernelResource/ResourceState.h"

#include <array>
#include <cstddef>

namespace Vorn {
namespace {

using enum ResourceState;

constexpr std::array<const char*, 10> kNames = {
    "None",    "Ready",     "Cached",   "Loading", "Loaded",
    "Locking", "Available", "Inactive", "Invalid", "Delete",
};

[[nodiscard]] constexpr std::uint32_t Bit(ResourceState state) {
    return 1U << static_cast<std::uint32_t>(state);
}

[[nodiscard]] constexpr std::uint32_t AnyOf(auto... states) { return (Bit(states) | ...); }

// The states that may follow each state.
constexpr std::array<std::uint32_t, kNames.size()> kNext = {
    AnyOf(Ready, Loading, Invalid, Delete),  // None
    AnyOf(Cached, Loading, Delete),          // Ready
    AnyOf(Ready, Loading, Delete),           // Cached
    AnyOf(Loaded, Invalid, Delete),          // Loading
    AnyOf(Available, Invalid, Delete),       // Loaded
    AnyOf(Delete),                           // Locking
    AnyOf(Inactive, Delete),                 // Available
    AnyOf(Available, Delete),                // Inactive
    AnyOf(Delete),                           // Invalid
    0,                                       // Delete
};
static_assert(kNames.size() == static_cast<std::size_t>(Delete) + 1);

}  // namespace

const char* NameOf(ResourceState state) { return kNames[static_cast<std::size_t>(state)]; }

bool MayMove(ResourceState from, ResourceState to) {
    return (kNext[static_cast<std::size_t>(from)] & Bit(to)) != 0;
}

}  // namespace Vorn
