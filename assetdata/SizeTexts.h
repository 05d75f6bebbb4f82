// Sizes and rates as readable texts, in the language of the interface.
//
// The words come from InterfaceTextDB; a missing one shows as its tag's name. Any thread.
#pragma once

#include <cstdint>

#include "kernel/String.h"

namespace Vorn {

// Returns "512 bytes", "1.50 KB" and so on: up to 1,024 of a unit, then the next one, up to
// gigabytes. Returns the word for an unknown size if `bytes` is negative.
[[nodiscard]] String SizeText(std::int64_t bytes);

// Returns the text of bytes per second, up to megabytes. The number replaces the placeholder of the
// language's text, such as "$(KILOBYTES)".
[[nodiscard]] String RateText(double bytesPerSecond);

}  // namespace Vorn
