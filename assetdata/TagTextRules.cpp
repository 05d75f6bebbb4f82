#include "assetdata/TagTextRules.h"

#include <algorithm>

#include "kernel/Paths.h"

namespace Vorn {
namespace {

bool HasPrefix(std::string_view text, std::string_view lower) {
    return text.size() >= lower.size() &&
           std::ranges::equal(text.substr(0, lower.size()), lower, {}, AsciiToLower);
}

bool BeginsKUID(std::string_view text) {
    return HasPrefix(text, "<kuid:") || HasPrefix(text, "<kuid2:");
}

}  // namespace

bool IsNumberValue(std::string_view value) {
    if (value.starts_with('-')) value.remove_prefix(1);
    const std::size_t behind = value.find_first_not_of("0123456789.");
    return behind == std::string_view::npos ||
           value.find_first_not_of(" \t", behind) == std::string_view::npos;
}

bool IsListValue(std::string_view value) {
    return value.find_first_not_of("0123456789-., \t") == std::string_view::npos;
}

bool IsKUIDValue(std::string_view text) {
    if (HasPrefix(text, "<null>")) {
        text.remove_prefix(1);
    } else if (!BeginsKUID(text)) {
        return false;
    }
    int count = 0;
    for (std::size_t at = 0; (at = text.find('<', at)) != std::string_view::npos; ++at) {
        if (BeginsKUID(text.substr(at)) && ++count == 2) return false;
    }
    return true;
}

}  // namespace Vorn
