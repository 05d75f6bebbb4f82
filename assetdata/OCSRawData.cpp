#include "assetdata/OCSRawData.h"

#include <cstring>
#include <limits>

#include "assetdata/NorvaneEx.h"

namespace Vorn {

OCSRawDataCore::OCSRawDataCore(std::span<const std::byte> bytes) {
    Store(bytes.data(), bytes.size(), 0);
}

OCSRawDataCore::OCSRawDataCore(std::string_view text) { Store(text.data(), text.size(), 1); }

void OCSRawDataCore::Store(const void* bytes, std::size_t count, std::size_t zeros) {
    const std::size_t size = count + zeros;
    if (size > std::numeric_limits<std::uint32_t>::max()) {
        throw NorvaneEx("assetdata/OCSRawData", __LINE__);
    }
    if (size > small_.size()) heap_ = std::make_unique_for_overwrite<std::byte[]>(size);
    std::byte* to = heap_ ? heap_.get() : small_.data();
    if (count > 0) std::memcpy(to, bytes, count);
    std::memset(to + count, 0, zeros);
    size_ = static_cast<std::uint32_t>(size);
}

}  // namespace Vorn
