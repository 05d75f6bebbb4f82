#include "assetdata/TagTextRules.h"

#include <algorithm>

#include "kernel/LetterCase.h"

namespace Vorn {
namespace {

bool IsNumberByte(char c) { return (c >= '0' && c <= '9') || c == '.'; }

bool BeginsKUID(std::string_view text) {
    return StartsWithAsciiNoCase(text, "<kuid:") || StartsWithAsciiNoCase(text, "<kuid2:");
}

}  // namespace

std::string FoldTagName(std::string_view name) {
    std::string folded(name.substr(0, kMostWrittenName));
    std::ranges::transform(folded, folded.begin(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte <= 32 || byte >= 128 ? '_' : AsciiToLower(c);
    });
    return folded;
}

bool IsNumberValue(std::string_view value) {
    if (value.starts_with('-')) value.remove_prefix(1);
    const auto* const end = std::ranges::find_if_not(value, IsNumberByte);
    return std::all_of(end, value.end(), IsTagBlank);
}

bool IsListValue(std::string_view value) {
    return std::ranges::all_of(
        value, [](char c) { return IsNumberByte(c) || IsTagBlank(c) || c == '-' || c == ','; });
}

bool LooksLikeComment(std::string_view name) {
    return name.starts_with(';') || name.starts_with('#') || name.starts_with("//");
}

// Lists of three and more, such as 255,128,128, are mostly meant as such.
bool LooksLikeThousands(std::string_view list) {
    if (list.starts_with('-')) list.remove_prefix(1);
    while (!list.empty() && IsTagBlank(list.back())) list.remove_suffix(1);
    const std::size_t comma = list.find(',');
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    return comma >= 1 && comma <= 3 && list.size() == comma + 4 && list.front() != '0' &&
           std::ranges::all_of(list.substr(0, comma), isDigit) &&
           std::ranges::all_of(list.substr(comma + 1), isDigit);
}

bool IsKUIDValue(std::string_view text) {
    if (!BeginsKUID(text) && !StartsWithAsciiNoCase(text, "<null>")) return false;
    int count = 0;
    for (std::size_t at = 0; (at = text.find('<', at)) != std::string_view::npos; ++at) {
        if (BeginsKUID(text.substr(at)) && ++count == 2) return false;
    }
    return true;
}

}  // namespace Vorn
