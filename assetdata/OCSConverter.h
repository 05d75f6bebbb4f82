// Conversion of tag values between types.
//
// Texts become integers, floats and identifiers, and the other way round; every other pair of
// types goes through text where it can. There are six converters, in a fixed order.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "assetdata/OCSChunk.h"
#include "assetdata/OCSRawData.h"

namespace Vorn {

class OCSConverter {
public:
    // Null when the value cannot be converted.
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

// The value as type `to`: the value itself for equal types, else by the first converter that
// leads there, else by the first pair of converters that does; else null.
[[nodiscard]] OCSRawData ConvertValue(const OCSRawData& value, std::uint32_t from,
                                      std::uint32_t to);

// The tag's value as text, empty for what has none: integers and floats ("%d", "%g") joined by
// ",", the first identifier in its tag form.
[[nodiscard]] std::string TextOfTag(const OCSChunk& tag);

}  // namespace Vorn
