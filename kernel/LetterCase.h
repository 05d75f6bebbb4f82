// Letter case and comparison that ignores it, for two alphabets.
//
// Ascii: A to Z only; for names that programs define, such as options, marks and tag names. Ansi:
// every letter of the ANSI code page; for paths and texts of users. No function looks at the C
// library's locale.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "platform/CodePage.h"

namespace Vorn {

[[nodiscard]] constexpr char AsciiToLower(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
}
[[nodiscard]] inline char AnsiToLower(char c) noexcept {
    return static_cast<char>(platform::AnsiToLower(static_cast<unsigned char>(c)));
}

// Returns the order of two texts whose bytes `lower` folds: below 0, 0 or above 0. Folded bytes
// compare as unsigned values, and a prefix sorts before the longer text.
template <typename Lower>
[[nodiscard]] int CompareFolded(std::string_view a, std::string_view b, const Lower& lower) {
    const std::size_t shared = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < shared; ++i) {
        const int difference =
            static_cast<unsigned char>(lower(a[i])) - static_cast<unsigned char>(lower(b[i]));
        if (difference != 0) return difference;
    }
    return a.size() < b.size() ? -1 : static_cast<int>(a.size() > b.size());
}

[[nodiscard]] inline int CompareAsciiNoCase(std::string_view a, std::string_view b) {
    return CompareFolded(a, b, AsciiToLower);
}
[[nodiscard]] inline int CompareAnsiNoCase(std::string_view a, std::string_view b) {
    return CompareFolded(a, b, AnsiToLower);
}

[[nodiscard]] inline bool EqualAsciiNoCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && CompareAsciiNoCase(a, b) == 0;
}
[[nodiscard]] inline bool EqualAnsiNoCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && CompareAnsiNoCase(a, b) == 0;
}

[[nodiscard]] inline bool StartsWithAsciiNoCase(std::string_view text, std::string_view prefix) {
    return EqualAsciiNoCase(text.substr(0, prefix.size()), prefix);
}

[[nodiscard]] inline std::string AsciiLowered(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), AsciiToLower);
    return lower;
}
[[nodiscard]] inline std::string AnsiLowered(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), AnsiToLower);
    return lower;
}

}  // namespace Vorn
