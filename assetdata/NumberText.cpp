#include "assetdata/NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace Vorn {
namespace {

constexpr bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
constexpr bool IsHex(std::string_view text) {
    return text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

// Returns whether digits that fit no float are too small for one, rather than too large.
bool IsTiny(std::string_view digits) {
    const std::size_t exponent = digits.find_first_of("eEpP");
    if (exponent != std::string_view::npos) return digits.substr(exponent + 1).starts_with('-');
    return digits.find_first_not_of('0') == digits.find('.');
}

// The blanks and the sign before the digits.
struct Front {
    std::size_t length = 0;
    bool negative = false;
};

Front SkipFront(std::string_view text) {
    Front front;
    while (front.length < text.size() && IsBlank(text[front.length])) ++front.length;
    if (front.length < text.size() && (text[front.length] == '-' || text[front.length] == '+')) {
        front.negative = text[front.length++] == '-';
    }
    return front;
}

}  // namespace

NumberRead<std::int32_t> ReadInteger(std::string_view text) {
    const Front front = SkipFront(text);
    constexpr std::int64_t kTooLarge = std::int64_t{1} << 40;
    std::int64_t value = 0;
    std::size_t at = front.length;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        value = std::min(value * 10 + (text[at] - '0'), kTooLarge);
    }
    if (at == front.length) return {};
    if (front.negative) value = -value;
    constexpr std::int64_t kLeast = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
    const std::int64_t nearest = std::clamp(value, kLeast, kMost);
    return {static_cast<std::int32_t>(nearest), true, nearest != value, at};
}

NumberRead<float> ReadFloat(std::string_view text) {
    const Front front = SkipFront(text);
    std::string_view digits = text.substr(front.length);
    // The sign is consumed above; a second one must not be read as part of the number.
    if (digits.starts_with('-')) return {};
    auto format = std::chars_format::general;
    if (IsHex(digits)) {
        format = std::chars_format::hex;
        digits.remove_prefix(2);
    }
    NumberRead<float> read;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, read.value, format);
    if (error == std::errc::invalid_argument) return {};
    read.found = true;
    read.length = static_cast<std::size_t>(stop - text.data());
    if (error == std::errc::result_out_of_range) {
        read.outOfRange = true;
        read.value = IsTiny(digits) ? 0 : std::numeric_limits<float>::infinity();
    }
    if (front.negative) read.value = -read.value;
    return read;
}

bool HoldsDigits(float value, std::string_view number) {
    constexpr std::size_t kMostDigits = 112;  // no float has more
    std::string meant;
    for (const char c : number) {
        if (c >= (meant.empty() ? '1' : '0') && c <= '9') meant += c;
    }
    meant.resize(meant.find_last_not_of('0') + 1);
    if (meant.empty() || meant.size() > kMostDigits) return meant.empty();
    std::array<char, kMostDigits + 16> text;
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), std::abs(value),
                      std::chars_format::scientific, static_cast<int>(meant.size()) - 1);
    std::string held(text.data(), std::find(text.data(), end.ptr, 'e'));
    std::erase(held, '.');
    return held == meant;
}

void AppendInteger(std::string& text, std::int32_t value) {
    std::array<char, 16> digits;
    text.append(digits.data(), std::to_chars(digits.data(), digits.end(), value).ptr);
}

void AppendFloat(std::string& text, float value) {
    constexpr int kDigits = 6;
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                   std::chars_format::general, kDigits);
    text.append(digits.data(), end.ptr);
}

}  // namespace Vorn
