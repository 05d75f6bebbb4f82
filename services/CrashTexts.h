// Names that the crash report prints. All texts are fixed.
#pragma once

#include <cstdint>

#include "platform/SystemInfo.h"

namespace Vorn {

// Returns the exception's name; "an Unknown exception type" for a code without one.
[[nodiscard]] const char* ExceptionName(std::uint32_t code);

// Returns the release's name by its numbers; "unknown Windows version" for all others, on any
// system.
[[nodiscard]] const char* OperatingSystemName(const platform::OperatingSystem& system);

}  // namespace Vorn
