// What the crash report calls things.
#pragma once

#include <cstdint>

#include "platform/SystemInfo.h"

namespace Vorn {

// "an Unknown exception type" for a code without a name.
[[nodiscard]] const char* ExceptionName(std::uint32_t code);

// The release by its numbers; "unknown Windows version" for all others, of any system.
[[nodiscard]] const char* OperatingSystemName(const platform::OperatingSystem& system);

}  // namespace Vorn
