// Conversion of tag values between types.
//
// Six converters, in a fixed order, convert texts to integers, floats and identifiers and back; any
// other pair of types is converted through text where possible.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "assetdata/OCSChunk.h"
#include "assetdata/OCSRawData.h"

namespace Vorn {

class OCSConverter {
public:
    // Returns null if the value cannot be converted.
    [[nodiscard]] virtual OCSRawData Convert(std::span<const std::byte> value) const = 0;

    [[nodiscard]] std::uint32_t SourceType() const { return source_; }
    [[nodiscard]] std::uint32_t TargetType() const { return target_; }

protected:
    constexpr OCSConverter(std::uint32_t source, std::uint32_t target)
        : source_(source), target_(target) {}
    ~OCSConverter() = default;  // converters live as long as the program

private:
    std::uint32_t source_;
    std::uint32_t target_;
};

// Returns the value as type `to`: the value itself for equal types, else the result of the first
// converter, or else of the first pair of converters, between the types; null if there is none.
[[nodiscard]] OCSRawData ConvertValue(const OCSRawData& value, std::uint32_t from,
                                      std::uint32_t to);

// Returns the tag's value as text: integers and floats ("%d", "%g") joined by ",", or the first
// identifier in its tag form; empty for other types.
[[nodiscard]] std::string TextOfTag(const OCSChunk& tag);

}  // namespace Vorn
