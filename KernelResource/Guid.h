// 128-bit identifiers of plug-ins and what they belong to.
//
// The text form is 8-4-4-4-12 hexadecimal digits of any letter case, without braces:
// "8DBDFEB0-52F4-4c1b-BA91-6A7B1CCC6D3E". Only the exact form is accepted, so that a typing error
// never names another object.
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace Vorn {

struct Guid {
    std::uint32_t data1 = 0;
    std::uint16_t data2 = 0;
    std::uint16_t data3 = 0;
    std::array<std::uint8_t, 8> data4{};

    auto operator<=>(const Guid&) const = default;  // NOLINT(modernize-use-nullptr): none is meant
};

inline constexpr std::size_t kGuidTextLength = 36;

[[nodiscard]] constexpr std::optional<Guid> ParseGuid(std::string_view text) {
    if (text.size() != kGuidTextLength) return std::nullopt;
    std::uint64_t half = 0;  // the last 16 digits
    Guid guid;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (i == 8 || i == 13 || i == 18 || i == 23) {
            if (c != '-') return std::nullopt;
            if (i == 8) guid.data1 = static_cast<std::uint32_t>(half);
            if (i == 13) guid.data2 = static_cast<std::uint16_t>(half);
            if (i == 18) guid.data3 = static_cast<std::uint16_t>(half);
            continue;
        }
        const char lower = static_cast<char>(c | 0x20);
        if (c >= '0' && c <= '9') {
            half = half << 4 | static_cast<std::uint64_t>(c - '0');
        } else if (lower >= 'a' && lower <= 'f') {
            half = half << 4 | static_cast<std::uint64_t>(lower - 'a' + 10);
        } else {
            return std::nullopt;
        }
    }
    for (std::size_t i = guid.data4.size(); i-- > 0; half >>= 8) {
        guid.data4[i] = static_cast<std::uint8_t>(half);
    }
    return guid;
}

// Writes an identifier as "8DBDFEB0-52F4-4c1b-BA91-6A7B1CCC6D3E"_guid. A malformed text does not
// compile.
consteval Guid operator""_guid(const char* text, std::size_t length) {
    return ParseGuid({text, length}).value();
}

}  // namespace Vorn
