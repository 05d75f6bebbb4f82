// Which build this is. A release build gives the texts to CMake as VORN_STAMP_VERSION,
// VORN_STAMP_NUMBER and VORN_STAMP_SUFFIX; any other build says that it has none.
#pragma once

#include <string>

namespace Vorn {

// "Vorn v<version> Build <number>.<suffix>".
[[nodiscard]] std::string BuildStamp();

// False in a build without a stamp, whose texts are fixed placeholders.
[[nodiscard]] bool HasBuildStamp();

// When the program was built: "Jul 14 2026" and "09:30:00".
[[nodiscard]] const char* BuildDate();
[[nodiscard]] const char* BuildTime();

}  // namespace Vorn
