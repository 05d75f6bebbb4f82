// Formats names and numbers for people.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace va::tool {

// Returns `text` with everything escaped that could control a terminal: control characters as \x1b,
// and bytes that are not UTF-8 as \xff. A backslash is doubled only before an 'x', where it would
// be mistaken for an escape.
[[nodiscard]] std::string Shown(std::string_view text);

[[nodiscard]] bool IsUtf8(std::string_view text);

// Returns "612 B", "3.4 MB", "125 GB": powers of 1000, at most three digits.
[[nodiscard]] std::string ShownBytes(std::uint64_t bytes);

// Returns "12,579".
[[nodiscard]] std::string GroupedDigits(std::uint64_t number);

// Returns "1 member", "12,579 members"; forms the plural with an 's'.
[[nodiscard]] std::string Counted(std::uint64_t count, std::string_view what);

// Returns `text` padded with blanks on the left to `columns`; longer text is unchanged.
[[nodiscard]] std::string RightAligned(const std::string& text, std::size_t columns);

// Returns "68 %" for 68 of 100; "0 %" if `whole` is 0.
[[nodiscard]] std::string Percent(std::uint64_t part, std::uint64_t whole);

}  // namespace va::tool
