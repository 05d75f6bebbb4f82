// The ANSI code page, Windows-1252: conversions and letter case, all from one table.
//
// Bytes 0x81, 0x8D, 0x8F, 0x90 and 0x9D are undefined in the code page; here they are the control
// characters of the same number. Source: the Unicode consortium's mapping of windows-1252.
#pragma once

#include <string>
#include <string_view>

namespace platform {

[[nodiscard]] unsigned char AnsiToLower(unsigned char byte) noexcept;
[[nodiscard]] unsigned char AnsiToUpper(unsigned char byte) noexcept;

// Returns the UTF-16 unit of an ANSI byte.
[[nodiscard]] char16_t AnsiToUtf16(unsigned char byte) noexcept;

// Sets `byte` to the ANSI byte of a UTF-16 unit; false if the code page has none.
[[nodiscard]] bool Utf16ToAnsi(char16_t unit, unsigned char& byte) noexcept;

[[nodiscard]] std::u16string AnsiToUtf16(std::string_view ansi);
[[nodiscard]] std::string AnsiToUtf8(std::string_view ansi);
// Characters outside the code page, and malformed input, become '?'.
[[nodiscard]] std::string Utf16ToAnsi(std::u16string_view text);
[[nodiscard]] std::string Utf8ToAnsi(std::string_view text);

}  // namespace platform
