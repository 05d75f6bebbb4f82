#include "tests/assetdata/LiteralKUID.h"

#include <strings.h>

#include <cctype>
#include <cstdio>
#include <cstring>

namespace Vorn::Literal {
namespace {

struct Fields {
    long long user = -1;
    long long content = -1;
    long long version = 127;
};

KUID Validate(const Fields& fields) {
    // What does not fit 32 bits names no asset.
    for (const long long number : {fields.user, fields.content, fields.version}) {
        if (number < -2147483648LL || number > 2147483647LL) return {};
    }
    const auto user = static_cast<std::uint32_t>(fields.user);
    const bool valid = user > 0x1FFFFFF ? (user & 0xFE000000) == 0xFE000000 && fields.version == 127
                                        : fields.version >= 0 && fields.version <= 127;
    if (!valid) return {};
    return {.userId = static_cast<std::int32_t>(fields.user),
            .contentId = static_cast<std::int32_t>(fields.content),
            .version = static_cast<std::uint32_t>(fields.version)};
}

KUID TwoNumbers(const char* text) {
    Fields fields;
    std::sscanf(text, "%lld:%lld", &fields.user, &fields.content);
    fields.version = fields.user < 0 ? 127 : 0;
    return Validate(fields);
}

KUID ThreeNumbers(const char* text) {
    Fields fields;
    std::sscanf(text, "%lld:%lld:%lld", &fields.user, &fields.content, &fields.version);
    if (fields.user < 0 || fields.user > 0x1FFFFFF) return {};
    return Validate(fields);
}

bool Digits(const char*& at) {
    const char* const from = at;
    while (std::isdigit(static_cast<unsigned char>(*at))) ++at;
    return at > from;
}

bool Byte(const char*& at, char c) {
    if (*at != c) return false;
    ++at;
    return true;
}

bool StrictPlain(const char* at) {
    Byte(at, '-');
    return Digits(at) && Byte(at, ':') && Digits(at) && Byte(at, '>') && *at == '\0';
}

bool StrictVersioned(const char* at) {
    return Digits(at) && Byte(at, ':') && Digits(at) && Byte(at, ':') && Digits(at) &&
           Byte(at, '>') && *at == '\0';
}

bool StrictFront(const char* at) {
    Byte(at, '-');
    return Digits(at) && Byte(at, ':');
}

int CountColons(const char* from, const char* to) {
    int colons = 0;
    for (; from < to; ++from) {
        if (*from == ':') ++colons;
    }
    return colons;
}

KUID Loose(const char* text) {
    const std::size_t length = std::strlen(text);
    if (std::strspn(text, "0123456789-:") == length && CountColons(text, text + length) == 1) {
        return TwoNumbers(text);
    }
    if (text[0] == '<') {
        const std::size_t end = 1 + std::strspn(text + 1, "0123456789-:");
        const bool ends = end == length || (text[end] == '>' && end + 1 == length);
        return ends && CountColons(text + 1, text + end) == 1 ? TwoNumbers(text + 1) : KUID{};
    }
    if (std::strspn(text, "0123456789-") != length) return {};
    Fields fields;
    std::sscanf(text, "%lld", &fields.content);
    return Validate(fields);
}

bool Lower(const char* text, std::size_t length, std::size_t at, char c) {
    return at < length && std::tolower(static_cast<unsigned char>(text[at])) == c;
}

}  // namespace

KUID ParseKUID(const char* text, bool strict) {
    const std::size_t length = std::strlen(text);
    const auto is = [&](std::size_t at, char c) { return Lower(text, length, at, c); };
    if (is(0, '<') && is(1, 'n') && is(2, 'u')) return {};
    if (is(3, 'l') && is(4, 'l') && is(5, '>')) return {};
    if (strncasecmp(text, "<kuid:", 6) == 0) {
        return strict && !StrictPlain(text + 6) ? KUID{} : TwoNumbers(text + 6);
    }
    if (strncasecmp(text, "<kuid2:", 7) == 0) {
        return strict && !StrictVersioned(text + 7) ? KUID{} : ThreeNumbers(text + 7);
    }
    if (strncasecmp(text, "kuid:", 5) == 0) {
        return strict && !StrictFront(text + 5) ? KUID{} : TwoNumbers(text + 5);
    }
    if (strncasecmp(text, "kuid2:", 6) == 0) {
        return strict && !StrictFront(text + 6) ? KUID{} : ThreeNumbers(text + 6);
    }
    return strict ? KUID{} : Loose(text);
}

}  // namespace Vorn::Literal
