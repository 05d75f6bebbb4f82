// Reads and prints numbers like "%d", "%f" and "%g", independent of the process's locale.
//
// Reading skips blanks, takes a sign, and stops at the first byte that cannot continue the number.
// An integer that does not fit 32 bits becomes the nearest that does, a float the infinity.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Vorn {

template <typename Number>
struct NumberRead {
    Number value = 0;
    bool found = false;       // else the value is 0
    bool outOfRange = false;  // the value is the nearest one
    std::size_t length = 0;   // bytes read, 0 when nothing was found
};

[[nodiscard]] NumberRead<std::int32_t> ReadInteger(std::string_view text);
[[nodiscard]] NumberRead<float> ReadFloat(std::string_view text);

// Returns whether `value`, read from `number`, prints the same digits again, from the first to the
// last that is not 0. A float that is not tiny keeps six digits.
[[nodiscard]] bool HoldsDigits(float value, std::string_view number);

void AppendInteger(std::string& text, std::int32_t value);
void AppendFloat(std::string& text, float value);

}  // namespace Vorn
