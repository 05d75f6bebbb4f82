#include "assetdata/TDBDataTag.h"

#include <algorithm>
#include <utility>

namespace Vorn {

TDBDataTag::TDBDataTag(std::uint32_t type, OCSRawData value)
    : type_(type), value_(std::move(value)) {}

TDBDataTag::TDBDataTag(std::uint32_t type, std::span<const std::byte> value) : type_(type) {
    if (value.size() > small_.size()) {
        value_ = OCSRawDataCore::Make(value);
    } else {
        std::ranges::copy(value, small_.begin());
        smallSize_ = static_cast<std::uint32_t>(value.size());
    }
}

const std::byte* TDBDataTag::Data() const {
    if (smallSize_ > 0) return small_.data();
    return value_ ? value_->Data() : nullptr;
}

std::uint32_t TDBDataTag::DataSize() const { return value_ ? value_->Size() : smallSize_; }

void TDBDataTag::SetData(std::uint32_t type, const OCSRawData& value) {
    type_ = type;
    smallSize_ = 0;
    value_ = value;
}

}  // namespace Vorn
