#include "assetdata/OCSConverter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

#include "assetdata/KUID.h"
#include "assetdata/NumberText.h"
#include "assetdata/TagValues.h"

namespace Vorn {
namespace {

std::string JoinIntegers(std::span<const std::byte> value) {
    std::string text;
    for (std::size_t i = 0; i < NumberCount(value); ++i) {
        if (i > 0) text += ',';
        AppendInteger(text, IntegerAt(value, i));
    }
    return text;
}

std::string JoinFloats(std::span<const std::byte> value) {
    std::string text;
    for (std::size_t i = 0; i < NumberCount(value); ++i) {
        if (i > 0) text += ',';
        AppendFloat(text, FloatAt(value, i));
    }
    return text;
}

// Nobody deletes a converter, least of all through the base.
// NOLINTBEGIN(cppcoreguidelines-virtual-class-destructor)
class OCSConverter_TextInt final : public OCSConverter {
public:
    constexpr OCSConverter_TextInt() : OCSConverter(kTagText, kTagInteger) {}
    [[nodiscard]] OCSRawData Convert(std::span<const std::byte> value) const override {
        const NumberRead<std::int32_t> read = ReadInteger(TextOf(value));
        return read.found ? MakeIntegers({&read.value, 1}) : OCSRawData();
    }
};

class OCSConverter_TextFloat final : public OCSConverter {
public:
    constexpr OCSConverter_TextFloat() : OCSConverter(kTagText, kTagFloat) {}
    [[nodiscard]] OCSRawData Convert(std::span<const std::byte> value) const override {
        const float number = ReadFloat(TextOf(value)).value;
        return MakeFloats({&number, 1});
    }
};

class OCSConverter_TextKUID final : public OCSConverter {
public:
    constexpr OCSConverter_TextKUID() : OCSConverter(kTagText, kTagKUID) {}
    [[nodiscard]] OCSRawData Convert(std::span<const std::byte> value) const override {
        return MakeKUID(KUID::Parse(TextOf(value), false));
    }
};

class OCSConverter_IntText final : public OCSConverter {
public:
    constexpr OCSConverter_IntText() : OCSConverter(kTagInteger, kTagText) {}
    [[nodiscard]] OCSRawData Convert(std::span<const std::byte> value) const override {
        return MakeText(JoinIntegers(value));
    }
};

class OCSConverter_FloatText final : public OCSConverter {
public:
    constexpr OCSConverter_FloatText() : OCSConverter(kTagFloat, kTagText) {}
    [[nodiscard]] OCSRawData Convert(std::span<const std::byte> value) const override {
        return MakeText(JoinFloats(value));
    }
};

class OCSConverter_KUIDText final : public OCSConverter {
public:
    constexpr OCSConverter_KUIDText() : OCSConverter(kTagKUID, kTagText) {}
    [[nodiscard]] OCSRawData Convert(std::span<const std::byte> value) const override {
        return KUIDCount(value) > 0 ? MakeText(KUIDAt(value, 0).TagText()) : OCSRawData();
    }
};
// NOLINTEND(cppcoreguidelines-virtual-class-destructor)

constexpr OCSConverter_TextInt g_textInt;
constexpr OCSConverter_TextFloat g_textFloat;
constexpr OCSConverter_TextKUID g_textKUID;
constexpr OCSConverter_IntText g_intText;
constexpr OCSConverter_FloatText g_floatText;
constexpr OCSConverter_KUIDText g_kuidText;
constexpr std::array<const OCSConverter*, 6> kConverters = {&g_textInt, &g_textFloat, &g_textKUID,
                                                            &g_intText, &g_floatText, &g_kuidText};

const OCSConverter* FindConverter(std::uint32_t from, std::uint32_t to) {
    const auto found = std::ranges::find_if(kConverters, [&](const OCSConverter* converter) {
        return converter->SourceType() == from && converter->TargetType() == to;
    });
    return found == kConverters.end() ? nullptr : *found;
}

OCSRawData ConvertBytes(std::span<const std::byte> value, std::uint32_t from, std::uint32_t to) {
    if (const OCSConverter* direct = FindConverter(from, to)) return direct->Convert(value);
    for (const OCSConverter* first : kConverters) {
        if (first->SourceType() != from) continue;
        if (const OCSConverter* second = FindConverter(first->TargetType(), to)) {
            const OCSRawData between = first->Convert(value);
            return between ? second->Convert(between->Bytes()) : OCSRawData();
        }
    }
    return {};
}

}  // namespace

OCSRawData ConvertValue(const OCSRawData& value, std::uint32_t from, std::uint32_t to) {
    if (from == to || !value) return value;
    return ConvertBytes(value->Bytes(), from, to);
}

std::string TextOfTag(const OCSChunk& tag) {
    if (tag.GetType() == kTagText) return std::string(TextOf(tag.DataBytes()));
    const OCSRawData text = ConvertBytes(tag.DataBytes(), tag.GetType(), kTagText);
    return text ? std::string(TextOf(text->Bytes())) : std::string();
}

}  // namespace Vorn
