// The version of the library: at compile time as macros, at run time as a function.
#pragma once

#define VACONVERTER_VERSION_MAJOR 1
#define VACONVERTER_VERSION_MINOR 1
#define VACONVERTER_VERSION_PATCH 0

namespace va {

// Returns the version of the linked library, such as "1.1.0".
[[nodiscard]] const char* Version() noexcept;

}  // namespace va
