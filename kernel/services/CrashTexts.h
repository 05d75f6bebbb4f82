// What the crash report calls things.
#pragma once

#include <cstdint>

#include "platform/SystemInfo.h"

namespace Vorn {

// "an Unknown exception type" for a code without a name.
[[nodiscard]] const char* ExceptionName(std::uint32_t code);

// The release by its numbers, where these belong to a family of systems; else the system's own
// name, which must outlive the result. "unknown Windows version" when neither is there.
[[nodiscard]] const char* OperatingSystemName(const platform::OperatingSystem& system);

}  // namespace Vorn
