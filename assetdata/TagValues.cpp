#include "assetdata/TagValues.h"

#include <array>
#include <bit>
#include <string_view>
#include <vector>

#include "kernel/LittleEndian.h"

namespace Vorn {
namespace {

std::uint32_t WordAt(std::span<const std::byte> value, std::size_t index) {
    return LoadU32<0>(value.subspan(index * 4).first<4>());
}

template <typename Number>
OCSRawData MakeNumbers(std::span<const Number> values) {
    if (values.size() == 1) return OCSRawDataCore::Make(BytesOf(values.front()));
    std::vector<std::byte> bytes;
    bytes.reserve(values.size() * 4);
    for (const Number value : values) {
        const auto added = BytesOf(value);
        bytes.insert(bytes.end(), added.begin(), added.end());
    }
    return OCSRawDataCore::Make(bytes);
}

}  // namespace

std::int32_t IntegerAt(std::span<const std::byte> value, std::size_t index) {
    return static_cast<std::int32_t>(WordAt(value, index));
}

float FloatAt(std::span<const std::byte> value, std::size_t index) {
    return std::bit_cast<float>(WordAt(value, index));
}

KUID KUIDAt(std::span<const std::byte> value, std::size_t index) {
    return KUID::FromPair(value.subspan(index * KUID::kPairSize).first<KUID::kPairSize>());
}

std::string_view TextOf(std::span<const std::byte> value) {
    const std::string_view all(reinterpret_cast<const char*>(value.data()), value.size());
    return all.substr(0, all.find('\0'));
}

bool IsAscii(std::string_view text) {
    unsigned char bits = 0;
    for (const char c : text) bits |= static_cast<unsigned char>(c);
    return bits < 0x80;
}

std::array<std::byte, 4> BytesOf(std::int32_t value) {
    std::array<std::byte, 4> bytes;
    StoreU32<0>(std::span(bytes), static_cast<std::uint32_t>(value));
    return bytes;
}

std::array<std::byte, 4> BytesOf(float value) {
    return BytesOf(std::bit_cast<std::int32_t>(value));
}

OCSRawData MakeIntegers(std::span<const std::int32_t> values) { return MakeNumbers(values); }

OCSRawData MakeFloats(std::span<const float> values) { return MakeNumbers(values); }

OCSRawData MakeKUID(const KUID& kuid) { return OCSRawDataCore::Make(kuid.ToPair()); }

OCSRawData MakeText(std::string_view text) {
    return OCSRawDataCore::Make(std::as_bytes(std::span(text)), 1);
}

}  // namespace Vorn
