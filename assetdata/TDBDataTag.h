// A leaf that owns its value.
#pragma once

#include "assetdata/OCSChunk.h"

namespace Vorn {

class TDBDataTag final : public OCSChunk {
public:
    TDBDataTag() = default;
    TDBDataTag(std::uint32_t type, OCSRawData value);

    [[nodiscard]] const std::byte* Data() const override;
    [[nodiscard]] std::uint32_t DataSize() const override;
    [[nodiscard]] std::uint32_t GetType() const override { return type_; }
    void SetData(std::uint32_t type, const OCSRawData& value) override;

    [[nodiscard]] const OCSRawData& Value() const { return value_; }

private:
    std::uint32_t type_ = kTagNone;
    OCSRawData value_;
};

}  // namespace Vorn
