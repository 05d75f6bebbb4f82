// The version of the library that a program was compiled with.
#pragma once

#define VACONVERTER_VERSION_MAJOR 1
#define VACONVERTER_VERSION_MINOR 1
#define VACONVERTER_VERSION_PATCH 0

namespace va {

// Returns the version of the library that runs, such as "1.1.0".
[[nodiscard]] const char* Version() noexcept;

}  // namespace va
