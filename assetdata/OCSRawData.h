// The immutable bytes of one tag value, reference-counted.
//
// Numbers in values are little-endian and may be unaligned: read them through TagValues.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <span>

#include "assetdata/ReferenceCountMP.h"

namespace Vorn {

class OCSRawDataCore final : public ReferenceCountMP {
public:
    // Copies the bytes and appends `zeros` zero bytes. Throws NorvaneEx for 4 GiB or more.
    [[nodiscard]] static RefPtr<OCSRawDataCore> Make(std::span<const std::byte> bytes,
                                                     std::size_t zeros = 0);

    [[nodiscard]] const std::byte* Data() const {
        return reinterpret_cast<const std::byte*>(this + 1);
    }
    [[nodiscard]] std::uint32_t Size() const { return size_; }
    [[nodiscard]] std::span<const std::byte> Bytes() const { return {Data(), size_}; }

    // Make allocates the block itself, because the bytes follow the object in it.
    // NOLINTNEXTLINE(misc-new-delete-overloads)
    static void operator delete(void* block) { ::operator delete(block); }

private:
    explicit OCSRawDataCore(std::uint32_t size) : size_(size) {}

    std::uint32_t size_;  // of the bytes, which follow the object
};

using OCSRawData = RefPtr<OCSRawDataCore>;

}  // namespace Vorn
