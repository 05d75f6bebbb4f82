#include "platform/CodePage.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace platform {
namespace {

constexpr unsigned kTableStart = 0x80;

// Bytes 0x80 to 0x9F; every other byte is its own Unicode number.
constexpr std::array<char16_t, 32> kTable = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

using CaseTable = std::array<unsigned char, 256>;
struct CaseTables {
    CaseTable lower{};
    CaseTable upper{};
};

constexpr CaseTables MakeCaseTables() {
    CaseTables tables;
    for (std::size_t byte = 0; byte < tables.lower.size(); ++byte) {
        tables.lower.at(byte) = tables.upper.at(byte) = static_cast<unsigned char>(byte);
    }
    const auto pair = [&tables](unsigned upper, unsigned lower) {
        tables.lower.at(upper) = static_cast<unsigned char>(lower);
        tables.upper.at(lower) = static_cast<unsigned char>(upper);
    };
    constexpr unsigned kCaseDistance = 0x20;
    constexpr unsigned kMultiplication = 0xD7;  // a sign, as is the byte 0x20 above it
    for (unsigned byte = 'A'; byte <= 'Z'; ++byte) {
        pair(byte, byte + kCaseDistance);
    }
    for (unsigned byte = 0xC0; byte <= 0xDE; ++byte) {
        if (byte != kMultiplication) {
            pair(byte, byte + kCaseDistance);
        }
    }
    pair(0x8A, 0x9A);
    pair(0x8C, 0x9C);
    pair(0x8E, 0x9E);
    pair(0x9F, 0xFF);
    return tables;
}

constexpr CaseTables kCases = MakeCaseTables();

void AppendUtf8(std::string& text, char16_t unit) {
    const auto append = [&text](unsigned byte) { text += static_cast<char>(byte); };
    if (unit < 0x80) {
        append(unit);
    } else if (unit < 0x800) {
        append(0xC0U | unit >> 6U);
        append(0x80U | (unit & 0x3FU));
    } else {
        append(0xE0U | unit >> 12U);
        append(0x80U | (unit >> 6U & 0x3FU));
        append(0x80U | (unit & 0x3FU));
    }
}

char ToAnsiOrQuestionMark(char32_t character) {
    unsigned char byte = '?';
    if (character > 0xFFFF || !Utf16ToAnsi(static_cast<char16_t>(character), byte)) {
        return '?';
    }
    return static_cast<char>(byte);
}

constexpr char32_t kMalformed = 0xFFFFFFFF;

// How a lead byte begins a sequence: how many bytes follow, and the least character that needs
// so many (a longer form than needed is malformed).
struct Utf8Lead {
    std::size_t following;
    char32_t bits;
    char32_t least;
};

Utf8Lead DecodeLead(unsigned char lead) {
    if (lead < 0x80) {
        return {.following = 0, .bits = lead, .least = 0};
    }
    if (lead >= 0xC0 && lead < 0xE0) {
        return {.following = 1, .bits = lead & 0x1FU, .least = 0x80};
    }
    if (lead >= 0xE0 && lead < 0xF0) {
        return {.following = 2, .bits = lead & 0x0FU, .least = 0x800};
    }
    if (lead >= 0xF0 && lead < 0xF8) {
        return {.following = 3, .bits = lead & 0x07U, .least = 0x10000};
    }
    return {.following = 0, .bits = kMalformed, .least = 0};
}

// Takes one character from the front of `text`, or as many bytes of it as are there.
char32_t TakeUtf8(std::string_view& text) {
    const Utf8Lead lead = DecodeLead(static_cast<unsigned char>(text.front()));
    text.remove_prefix(1);
    char32_t character = lead.bits;
    for (std::size_t i = 0; i < lead.following; ++i) {
        const unsigned char byte = text.empty() ? 0 : static_cast<unsigned char>(text.front());
        if ((byte & 0xC0U) != 0x80) {
            return kMalformed;
        }
        character = character << 6U | (byte & 0x3FU);
        text.remove_prefix(1);
    }
    return character >= lead.least ? character : kMalformed;
}

constexpr bool IsHighSurrogate(char16_t unit) { return (unit & 0xFC00U) == 0xD800; }
constexpr bool IsLowSurrogate(char16_t unit) { return (unit & 0xFC00U) == 0xDC00; }

}  // namespace

unsigned char AnsiToLower(unsigned char byte) noexcept { return kCases.lower[byte]; }

unsigned char AnsiToUpper(unsigned char byte) noexcept { return kCases.upper[byte]; }

char16_t AnsiToUtf16(unsigned char byte) noexcept {
    const bool inTable = byte >= kTableStart && byte < kTableStart + kTable.size();
    return inTable ? kTable[byte - kTableStart] : byte;
}

bool Utf16ToAnsi(char16_t unit, unsigned char& byte) noexcept {
    if (unit < kTableStart || (unit >= kTableStart + kTable.size() && unit <= 0xFF)) {
        byte = static_cast<unsigned char>(unit);
        return true;
    }
    const auto* const found = std::find(kTable.begin(), kTable.end(), unit);
    if (found == kTable.end()) {
        return false;
    }
    byte = static_cast<unsigned char>(kTableStart + static_cast<unsigned>(found - kTable.begin()));
    return true;
}

std::u16string AnsiToUtf16(std::string_view ansi) {
    std::u16string text;
    text.reserve(ansi.size());
    for (const char byte : ansi) {
        text += AnsiToUtf16(static_cast<unsigned char>(byte));
    }
    return text;
}

std::string AnsiToUtf8(std::string_view ansi) {
    // Most names are ASCII, which both have in common.
    constexpr unsigned char kFirstOther = 0x80;
    if (std::ranges::all_of(ansi, [](unsigned char byte) { return byte < kFirstOther; })) {
        return std::string(ansi);
    }
    std::string text;
    text.reserve(ansi.size());
    for (const char byte : ansi) {
        AppendUtf8(text, AnsiToUtf16(static_cast<unsigned char>(byte)));
    }
    return text;
}

std::string Utf16ToAnsi(std::u16string_view text) {
    std::string ansi;
    ansi.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        ansi += ToAnsiOrQuestionMark(text[i]);
        if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
            ++i;  // the pair is one character
        }
    }
    return ansi;
}

std::string Utf8ToAnsi(std::string_view text) {
    std::string ansi;
    ansi.reserve(text.size());
    while (!text.empty()) {
        ansi += ToAnsiOrQuestionMark(TakeUtf8(text));
    }
    return ansi;
}

}  // namespace platform
