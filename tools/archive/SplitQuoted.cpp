#include "tools/archive/SplitQuoted.h"

#include <algorithm>
#include <string>

namespace Vorn {
namespace {

constexpr std::size_t kSearchLimit = 8192;  // fixed

[[nodiscard]] String Part(std::string_view text) {
    String part;
    part.Assign(std::string(text).c_str());
    return part;
}

}  // namespace

std::size_t SplitQuoted(std::string_view text, std::string_view delimiters, char quote,
                        std::vector<String>& parts) {
    parts.clear();
    const std::string ends = std::string(delimiters) + quote;
    std::size_t at = 0;
    while ((at = text.find_first_not_of(delimiters, at)) != std::string_view::npos) {
        if (text[at] != quote) {
            std::size_t end = text.find_first_of(ends, at);
            if (end >= kSearchLimit) end = text.size();
            parts.push_back(Part(text.substr(at, end - at)));
            at = end;
            continue;
        }
        const std::size_t end = text.find(quote, at + 1);
        if (end == std::string_view::npos) break;
        if (end > at + 1) parts.push_back(Part(text.substr(at + 1, end - at - 1)));
        at = end + 1;
    }
    return parts.size();
}

}  // namespace Vorn
