// The names and texts of result codes, in a table per kind of code, indexed by its number.
#pragma once

#include <array>
#include <cstddef>

namespace Vorn {

struct ResultText {
    const char* name;  // "RES_OK"
    const char* text;  // for messages; empty for success
};

// Returns the row of `code`, or that of `fallback` for a code outside the table.
template <std::size_t size>
[[nodiscard]] constexpr const ResultText& DescribeResult(const std::array<ResultText, size>& table,
                                                         int code, int fallback) {
    const bool known = code >= 0 && static_cast<std::size_t>(code) < size;
    return table[static_cast<std::size_t>(known ? code : fallback)];
}

}  // namespace Vorn
