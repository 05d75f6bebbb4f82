// Tables of texts, a row a text: its cells stand between '|'.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Vorn {

inline std::vector<std::string> Cells(std::string_view row) {
    std::vector<std::string> cells(1);
    for (const char c : row) {
        if (c == '|') {
            cells.emplace_back();
        } else {
            cells.back() += c;
        }
    }
    return cells;
}

}  // namespace Vorn
