#include "assetdata/TDBDataTag.h"

#include <utility>

namespace Vorn {

TDBDataTag::TDBDataTag(std::uint32_t type, OCSRawData value)
    : type_(type), value_(std::move(value)) {}

const std::byte* TDBDataTag::Data() const { return value_ ? value_->Data() : nullptr; }

std::uint32_t TDBDataTag::DataSize() const { return value_ ? value_->Size() : 0; }

void TDBDataTag::SetData(std::uint32_t type, const OCSRawData& value) {
    type_ = type;
    value_ = value;
}

}  // namespace Vorn
