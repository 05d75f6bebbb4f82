// Reads and makes the bytes of tag values: numbers, identifiers and texts.
//
// A value's bytes may come from a hostile file: they may end inside a number, and a text may lack
// its zero byte. Nothing here reads past the bytes it is given.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "assetdata/KUID.h"
#include "assetdata/OCSRawData.h"

namespace Vorn {

// Returns the count of complete numbers in a value; 1 to 3 bytes at the end do not count.
[[nodiscard]] constexpr std::size_t NumberCount(std::span<const std::byte> value) {
    return value.size() / 4;
}
[[nodiscard]] constexpr std::size_t KUIDCount(std::span<const std::byte> value) {
    return value.size() / KUID::kPairSize;
}

// Return the element at an index below the count.
[[nodiscard]] std::int32_t IntegerAt(std::span<const std::byte> value, std::size_t index);
[[nodiscard]] float FloatAt(std::span<const std::byte> value, std::size_t index);
[[nodiscard]] KUID KUIDAt(std::span<const std::byte> value, std::size_t index);
// Returns the text up to the first zero byte, or all of it.
[[nodiscard]] std::string_view TextOf(std::span<const std::byte> value);

[[nodiscard]] bool IsAscii(std::string_view text);

[[nodiscard]] std::array<std::byte, 4> BytesOf(std::int32_t value);
[[nodiscard]] std::array<std::byte, 4> BytesOf(float value);
[[nodiscard]] OCSRawData MakeIntegers(std::span<const std::int32_t> values);
[[nodiscard]] OCSRawData MakeFloats(std::span<const float> values);
[[nodiscard]] OCSRawData MakeKUID(const KUID& kuid);
[[nodiscard]] OCSRawData MakeText(std::string_view text);

}  // namespace Vorn
