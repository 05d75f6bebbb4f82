// The bytes of one tag value, shared by counting and never changed.
//
// Numbers in values are little-endian and stand at any address: read them through TagValues.h.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "assetdata/ReferenceCountMP.h"

namespace Vorn {

class OCSRawDataCore final : public ReferenceCountMP {
public:
    // Copies the bytes, and a zero byte behind them for texts. Throws NorvaneEx from 4 GiB on.
    explicit OCSRawDataCore(std::span<const std::byte> bytes);
    explicit OCSRawDataCore(std::string_view text);

    [[nodiscard]] const std::byte* Data() const { return heap_ ? heap_.get() : small_.data(); }
    [[nodiscard]] std::uint32_t Size() const { return size_; }
    [[nodiscard]] std::span<const std::byte> Bytes() const { return {Data(), size_}; }

private:
    void Store(const void* bytes, std::size_t count, std::size_t zeros);

    std::unique_ptr<std::byte[]> heap_;
    std::uint32_t size_ = 0;
    std::array<std::byte, 12> small_;  // most values are one number
};

using OCSRawData = RefPtr<OCSRawDataCore>;

}  // namespace Vorn
