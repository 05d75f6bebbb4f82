// What a value in the text form is, by its bytes alone.
#pragma once

#include <cstddef>
#include <string_view>

namespace Vorn {

inline constexpr std::size_t kMostListBytes = 255;

constexpr bool IsTagBlank(char c) { return c == ' ' || c == '\t'; }
constexpr bool IsTagLineEnd(char c) { return c == '\r' || c == '\n'; }

// A value without quotes that ends with its line: one number, integer or float by its dots, or
// else a list of floats. Both may turn out to hold no digit.
[[nodiscard]] bool IsNumberValue(std::string_view value);
[[nodiscard]] bool IsListValue(std::string_view value);

// A text that becomes a KUID: it begins with one and holds no second.
[[nodiscard]] bool IsKUIDValue(std::string_view text);

}  // namespace Vorn
