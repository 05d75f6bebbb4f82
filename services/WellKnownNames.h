// Names that many parts of the system compare with, interned once.
#pragma once

#include <cstddef>

#include "kernel/InternedString.h"

namespace Vorn {

// In the order in which they are interned.
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

// The null handle before the kernel was constructed.
[[nodiscard]] const InternedString& NameOf(WellKnownName name);

// Interns all names anew; a previous handle is released first. Called by the kernel only, before
// other threads exist.
void InternWellKnownNames();

}  // namespace Vorn
