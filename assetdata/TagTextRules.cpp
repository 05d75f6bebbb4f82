#include "assetdata/TagTextRules.h"

#include <algorithm>

#include "kernel/Paths.h"

namespace Vorn {
namespace {

bool HasPrefix(std::string_view text, std::string_view lower) {
    return text.size() >= lower.size() &&
           std::ranges::equal(text.substr(0, lower.size()), lower, {}, AsciiToLower);
}

bool IsNumberByte(char c) { return (c >= '0' && c <= '9') || c == '.'; }

bool BeginsKUID(std::string_view text) {
    return HasPrefix(text, "<kuid:") || HasPrefix(text, "<kuid2:");
}

}  // namespace

bool IsNumberValue(std::string_view value) {
    if (value.starts_with('-')) value.remove_prefix(1);
    const auto* const behind = std::ranges::find_if_not(value, IsNumberByte);
    return std::all_of(behind, value.end(), IsTagBlank);
}

bool IsListValue(std::string_view value) {
    return std::ranges::all_of(
        value, [](char c) { return IsNumberByte(c) || IsTagBlank(c) || c == '-' || c == ','; });
}

bool IsKUIDValue(std::string_view text) {
    if (!BeginsKUID(text) && !HasPrefix(text, "<null>")) return false;
    int count = 0;
    for (std::size_t at = 0; (at = text.find('<', at)) != std::string_view::npos; ++at) {
        if (BeginsKUID(text.substr(at)) && ++count == 2) return false;
    }
    return true;
}

}  // namespace Vorn
