// A leaf that owns its value.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "assetdata/OCSChunk.h"

namespace Vorn {

class TDBDataTag final : public OCSChunk {
public:
    TDBDataTag() = default;
    TDBDataTag(std::uint32_t type, OCSRawData value);
    // Copies the bytes. A number or an identifier is stored inside the tag.
    TDBDataTag(std::uint32_t type, std::span<const std::byte> value);

    [[nodiscard]] const std::byte* Data() const override;
    [[nodiscard]] std::uint32_t DataSize() const override;
    [[nodiscard]] std::uint32_t GetType() const override { return type_; }
    void SetData(std::uint32_t type, const OCSRawData& value) override;

private:
    std::uint32_t type_ = kTagNone;
    std::uint32_t smallSize_ = 0;  // bytes used of the small value; 0 when value_ has it
    std::array<std::byte, 8> small_;
    OCSRawData value_;
};

}  // namespace Vorn
