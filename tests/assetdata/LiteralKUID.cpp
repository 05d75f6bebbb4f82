#include "tests/assetdata/LiteralKUID.h"

#include <regex.h>

#include <cstdio>
#include <map>
#include <string>

namespace Vorn::Literal {
namespace {

bool Is(const char* text, const std::string& pattern) {
    static auto& compiled = *new std::map<std::string, regex_t>;
    const auto [found, isNew] = compiled.try_emplace(pattern);
    if (isNew) regcomp(&found->second, pattern.c_str(), REG_EXTENDED | REG_ICASE | REG_NOSUB);
    return regexec(&found->second, text, 0, nullptr, 0) == 0;
}

KUID Validated(long long user, long long content, long long version) {
    // What does not fit 32 bits names no asset.
    for (const long long number : {user, content, version}) {
        if (number < -2147483648LL || number > 2147483647LL) return {};
    }
    const auto bits = static_cast<std::uint32_t>(user);
    const bool valid = bits > 0x1FFFFFF ? (bits & 0xFE000000) == 0xFE000000 && version == 127
                                        : version >= 0 && version <= 127;
    if (!valid) return {};
    return {.userId = static_cast<std::int32_t>(user),
            .contentId = static_cast<std::int32_t>(content),
            .version = static_cast<std::uint32_t>(version)};
}

KUID TwoNumbers(const char* text) {
    long long user = -1;
    long long content = -1;
    std::sscanf(text, "%lld:%lld", &user, &content);
    return Validated(user, content, user < 0 ? 127 : 0);
}

KUID ThreeNumbers(const char* text) {
    long long user = -1;
    long long content = -1;
    long long version = 127;
    std::sscanf(text, "%lld:%lld:%lld", &user, &content, &version);
    return user < 0 || user > 0x1FFFFFF ? KUID{} : Validated(user, content, version);
}

KUID Content(const char* text) {
    long long content = -1;
    std::sscanf(text, "%lld", &content);
    return Validated(-1, content, 127);
}

}  // namespace

KUID ParseKUID(const char* text, bool strict) {
    if (Is(text, "^<nu|^...ll>")) return {};
    if (Is(text, "^<kuid:")) {
        return strict && !Is(text, "^<kuid:-?[0-9]+:[0-9]+>$") ? KUID{} : TwoNumbers(text + 6);
    }
    if (Is(text, "^<kuid2:")) {
        return strict && !Is(text, "^<kuid2:[0-9]+:[0-9]+:[0-9]+>$") ? KUID{}
                                                                     : ThreeNumbers(text + 7);
    }
    if (Is(text, "^kuid:")) {
        return strict && !Is(text, "^kuid:-?[0-9]+:") ? KUID{} : TwoNumbers(text + 5);
    }
    if (Is(text, "^kuid2:")) {
        return strict && !Is(text, "^kuid2:-?[0-9]+:") ? KUID{} : ThreeNumbers(text + 6);
    }
    if (!strict && Is(text, "^[0-9-]*:[0-9-]*$")) return TwoNumbers(text);
    if (!strict && Is(text, "^<[0-9-]*:[0-9-]*>?$")) return TwoNumbers(text + 1);
    return !strict && Is(text, "^[0-9-]*$") ? Content(text) : KUID{};
}

}  // namespace Vorn::Literal
