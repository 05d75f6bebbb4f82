// Member names: letter case, order and validity.
//
// Names are bytes of code page 1252. Two names are one when they differ only in letter case or in
// the separator, '/' or '\'. The canonical order is the byte order of the folded names: lower case,
// '/' for both separators.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace archive {

// Returns the byte as names are compared and ordered.
[[nodiscard]] unsigned char FoldByte(char c);
[[nodiscard]] std::string FoldName(std::string_view name);
// Writes the folded name, as many bytes as `name` has.
void FoldInto(std::string_view name, char* folded);

// Returns a number below 0, 0 or above 0 by the canonical order.
[[nodiscard]] int CompareNames(std::string_view a, std::string_view b);
[[nodiscard]] inline bool SameName(std::string_view a, std::string_view b) {
    return a.size() == b.size() && CompareNames(a, b) == 0;
}

// Returns the numbers of the names in the canonical order; of equal names in the order given.
[[nodiscard]] std::vector<std::uint32_t> CanonicalOrder(std::span<const std::string_view> names);

// Returns why `name` is not one that every reader finds and every system can extract, as a clause
// such as "has a '..' component"; null for a good name. Good names are 1 to 259 bytes, relative,
// with '/' between non-empty components other than "." and "..", without ':', '\' and control
// bytes.
[[nodiscard]] const char* NameProblem(std::string_view name);

}  // namespace archive
