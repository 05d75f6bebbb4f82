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

// Converters are static objects and never deleted, so their destructors need not be virtual.
// NOLINTBEGIN(cppcoreguidelines-virtual-class-destructor)
class TextIntConverter final : public OCSConverter {
public:
    constexpr TextIntConverter() : OCSConverter(kTagText, kTagInteger) {}
    [[nodiscard]] OCSRawData Convert(std::span<const std::byte> value) const override {
        const NumberRead<std::int32_t> read = ReadInteger(TextOf(value));
        return read.found ? MakeIntegers({&read.value, 1}) : OCSRawData();
    }
};

class TextFloatConverter final : public OCSConverter {
public:
    constexpr TextFloatConverter() : OCSConverter(kTagText, kTagFloat) {}
    [[nodiscard]] OCSRawData Convert(std::span<const std::byte> value) const override {
        const float number = ReadFloat(TextOf(value)).value;
        return MakeFloats({&number, 1});
    }
};

class TextKUIDConverter final : public OCSConverter {
public:
    constexpr TextKUIDConverter() : OCSConverter(kTagText, kTagKUID) {}
    [[nodiscard]] OCSRawData Convert(std::span<const std::byte> value) const override {
        return MakeKUID(KUID::Parse(TextOf(value), false));
    }
};

class IntTextConverter final : public OCSConverter {
public:
    constexpr IntTextConverter() : OCSConverter(kTagInteger, kTagText) {}
    [[nodiscard]] OCSRawData Convert(std::span<const std::byte> value) const override {
        return MakeText(JoinIntegers(value));
    }
};

class FloatTextConverter final : public OCSConverter {
public:
    constexpr FloatTextConverter() : OCSConverter(kTagFloat, kTagText) {}
    [[nodiscard]] OCSRawData Convert(std::span<const std::byte> value) const override {
        return MakeText(JoinFloats(value));
    }
};

class KUIDTextConverter final : public OCSConverter {
public:
    constexpr KUIDTextConverter() : OCSConverter(kTagKUID, kTagText) {}
    [[nodiscard]] OCSRawData Convert(std::span<const std::byte> value) const override {
        return KUIDCount(value) > 0 ? MakeText(KUIDAt(value, 0).TagText()) : OCSRawData();
    }
};
// NOLINTEND(cppcoreguidelines-virtual-class-destructor)

constexpr TextIntConverter kTextInt;
constexpr TextFloatConverter kTextFloat;
constexpr TextKUIDConverter kTextKUID;
constexpr IntTextConverter kIntText;
constexpr FloatTextConverter kFloatText;
constexpr KUIDTextConverter kKUIDText;
constexpr std::array<const OCSConverter*, 6> kConverters = {&kTextInt, &kTextFloat, &kTextKUID,
                                                            &kIntText, &kFloatText, &kKUIDText};

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
