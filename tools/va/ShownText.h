// Names and numbers as people see them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace va::tool {

// Returns `text` with whatever could change a terminal made visible: control characters as \x1b, a
// backslash only where it would be mistaken for one of these, bytes that are not UTF-8 as \xff.
[[nodiscard]] std::string Shown(std::string_view text);

[[nodiscard]] bool IsUtf8(std::string_view text);

// Returns "612 B", "3.4 MB", "1.25 GB": powers of 1000, three digits at most.
[[nodiscard]] std::string ShownBytes(std::uint64_t bytes);

// Returns "12,579".
[[nodiscard]] std::string GroupedDigits(std::uint64_t number);

// Returns "1 member", "12,579 members"; the plural is the word with an 's'.
[[nodiscard]] std::string Counted(std::uint64_t count, std::string_view what);

// Returns `text` with blanks before it, so that it ends in this column; longer text stays as it is.
[[nodiscard]] std::string RightAligned(const std::string& text, std::size_t columns);

// Returns "68 %" of a whole; "0 %" of nothing.
[[nodiscard]] std::string Percent(std::uint64_t part, std::uint64_t whole);

}  // namespace va::tool
