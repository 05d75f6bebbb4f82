// The identity of this build. A release build passes the texts to CMake as VORN_STAMP_VERSION,
// VORN_STAMP_NUMBER and VORN_STAMP_SUFFIX; any other build has fixed placeholders.
#pragma once

#include <string>

namespace Vorn {

// Returns "Vorn v<version> Build <number>.<suffix>".
[[nodiscard]] std::string BuildStamp();

// Returns false in a build with placeholders.
[[nodiscard]] bool HasBuildStamp();

// Return when the program was built: "Jul 14 2026" and "09:30:00".
[[nodiscard]] const char* BuildDate();
[[nodiscard]] const char* BuildTime();

}  // namespace Vorn
