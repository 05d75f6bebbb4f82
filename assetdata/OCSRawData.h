// The bytes of one tag value, shared by counting and never changed.
//
// Numbers in values are little-endian and stand at any address: read them through TagValues.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <span>

#include "assetdata/ReferenceCountMP.h"

namespace Vorn {

class OCSRawDataCore final : public ReferenceCountMP {
public:
    // Copies the bytes, and `zeros` zero bytes behind them. Throws NorvaneEx from 4 GiB on.
    [[nodiscard]] static RefPtr<OCSRawDataCore> Make(std::span<const std::byte> bytes,
                                                     std::size_t zeros = 0);

    [[nodiscard]] const std::byte* Data() const {
        return reinterpret_cast<const std::byte*>(this + 1);
    }
    [[nodiscard]] std::uint32_t Size() const { return size_; }
    [[nodiscard]] std::span<const std::byte> Bytes() const { return {Data(), size_}; }

    // Make takes the block itself, since the bytes stand in it too.
    // NOLINTNEXTLINE(misc-new-delete-overloads)
    static void operator delete(void* block) { ::operator delete(block); }

private:
    explicit OCSRawDataCore(std::uint32_t size) : size_(size) {}

    std::uint32_t size_;  // of the bytes, which stand right behind the object
};

using OCSRawData = RefPtr<OCSRawDataCore>;

}  // namespace Vorn
