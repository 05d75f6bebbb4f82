// What a result code is called and says. The codes of one kind are a table of these by number.
#pragma once

#include <array>
#include <cstddef>

namespace Vorn {

struct ResultText {
    const char* name;  // "RES_OK"
    const char* text;  // for messages; empty for success
};

// The row of `code`; a code outside the table reads as `fallback`.
template <std::size_t size>
[[nodiscard]] constexpr const ResultText& DescribeResult(const std::array<ResultText, size>& table,
                                                         int code, int fallback) {
    const bool known = code >= 0 && static_cast<std::size_t>(code) < size;
    return table[static_cast<std::size_t>(known ? code : fallback)];
}

}  // namespace Vorn
