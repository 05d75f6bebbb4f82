#include "tools/va/ShownText.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>

namespace va::tool {
namespace {

void AppendEscaped(std::string& out, unsigned char byte) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    out.append("\\x").append(1, kDigits[byte >> 4]).append(1, kDigits[byte & 15]);
}

// Returns the length of the UTF-8 sequence at the start of `text`; 0 if there is no valid one (RFC
// 3629: shortest form, no surrogates, at most U+10FFFF).
std::size_t SequenceLength(std::string_view text) {
    const auto at = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    const unsigned first = at(0);
    if (first < 0x80) return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((at(i) & 0xC0) != 0x80) return 0;
    }
    const unsigned second = at(1);
    const bool bad = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                     (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
    return bad ? 0 : length;
}

}  // namespace

std::string Shown(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        // Most names are plain ASCII, so copy runs of it at once.
        const auto special =
            std::ranges::find_if(text, [](char c) { return c < ' ' || c > '~' || c == '\\'; });
        const auto plain = static_cast<std::size_t>(special - text.begin());
        out += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty()) break;
        const std::size_t length = SequenceLength(text);
        const auto byte = static_cast<unsigned char>(text.front());
        // U+0080 to U+009F are control characters as well; some terminals execute them.
        const bool isControl =
            byte < 0x20 || byte == 0x7F ||
            (byte == 0xC2 && length == 2 && static_cast<unsigned char>(text[1]) < 0xA0);
        if (length == 0) {
            AppendEscaped(out, byte);
        } else if (isControl) {
            for (const char c : text.substr(length - 1, 1)) {
                AppendEscaped(out, static_cast<unsigned char>(c));
            }
        } else if (text.starts_with("\\x")) {
            out += "\\\\";
        } else {
            out += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return out;
}

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = SequenceLength(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

std::string ShownBytes(std::uint64_t bytes) {
    if (bytes < 1000) return std::to_string(bytes) + " B";
    constexpr std::array kUnits = {"kB", "MB", "GB", "TB", "PB", "EB"};
    double number = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    // From 999.5 on the number would be rounded to 1000.
    while (number >= 999.5) {
        number /= 1000;
        ++unit;
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), number < 99.95 ? "%.1f %s" : "%.0f %s", number,
                  kUnits.at(unit));
    return text.data();
}

std::string GroupedDigits(std::uint64_t number) {
    std::string digits = std::to_string(number);
    for (std::size_t at = digits.size(); at > 3;) digits.insert(at -= 3, 1, ',');
    return digits;
}

std::string Counted(std::uint64_t count, std::string_view what) {
    return GroupedDigits(count) + " " + std::string(what) + (count == 1 ? "" : "s");
}

std::string RightAligned(const std::string& text, std::size_t columns) {
    return text.size() < columns ? std::string(columns - text.size(), ' ') + text : text;
}

std::string Percent(std::uint64_t part, std::uint64_t whole) {
    const double share =
        whole == 0 ? 0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole);
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.0f %%", share);
    return text.data();
}

}  // namespace va::tool
