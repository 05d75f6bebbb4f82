#include "services/WellKnownNames.h"

#include <array>

namespace Vorn {
namespace {

constexpr std::array<const char*, kWellKnownNameCount> kTexts = {
    "OnMinZoom",
    "OnMaxZoom",
    "OnMinPitch",
    "OnMaxPitch",
    "OnMinYaw",
    "OnMaxYaw",
    "OnMinRoll",
    "OnMaxRoll",
    "OnMinTargetPitch",
    "OnMaxTargetPitch",
    "OnMinTargetYaw",
    "OnMaxTargetYaw",
    "undefined",
    "default",
    "MCP",
    "NULL",
    "BaseLandscape",
    "Sky",
    "Main_void",
    "UserInterface",
    "",
};
static_assert(static_cast<std::size_t>(WellKnownName::Empty) + 1 == kTexts.size());

constinit std::array<InternedString, kWellKnownNameCount> names;

}  // namespace

const InternedString& NameOf(WellKnownName name) { return names[static_cast<std::size_t>(name)]; }

void InternWellKnownNames() {
    for (std::size_t i = 0; i < names.size(); ++i) {
        names[i] = {};
        names[i] = Intern(kTexts[i]);
    }
}

}  // namespace Vorn
