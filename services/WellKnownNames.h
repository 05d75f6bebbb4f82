// Names that many parts of the system compare with, interned once.
#pragma once

#include <cstddef>

#include "kernel/InternedString.h"

namespace Vorn {

// The order is the order in which they are interned, which is fixed.
enum class WellKnownName : std::size_t {
    OnMinZoom,
    OnMaxZoom,
    OnMinPitch,
    OnMaxPitch,
    OnMinYaw,
    OnMaxYaw,
    OnMinRoll,
    OnMaxRoll,
    OnMinTargetPitch,
    OnMaxTargetPitch,
    OnMinTargetYaw,
    OnMaxTargetYaw,
    Undefined,
    Default,
    Mcp,
    Null,
    BaseLandscape,
    Sky,
    MainVoid,
    UserInterface,
    Empty,
};
inline constexpr std::size_t kWellKnownNameCount = 21;

// Returns the handle of a name; null before the kernel is constructed.
[[nodiscard]] const InternedString& NameOf(WellKnownName name);

// Interns all names again and releases the previous handles. Only the kernel calls this, before
// other threads exist.
void InternWellKnownNames();

}  // namespace Vorn
