// Sizes and rates as a person reads them, in the words of the interface's language.
//
// The words come from InterfaceTextDB; one that is missing shows as its tag's name. Any thread.
#pragma once

#include <cstdint>

#include "kernel/String.h"

namespace Vorn {

// "512 bytes", "1.50 KB": up to 1,024 of a unit, then the next one, up to gigabytes. The word for
// an unknown size when `bytes` is below 0.
[[nodiscard]] String SizeText(std::int64_t bytes);

// The same for bytes in a second, up to megabytes. The number stands where the language's text has
// its placeholder, such as "$(KILOBYTES)".
[[nodiscard]] String RateText(double bytesPerSecond);

}  // namespace Vorn
