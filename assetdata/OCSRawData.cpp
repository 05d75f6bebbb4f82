#include "assetdata/OCSRawData.h"

#include <cstring>
#include <limits>

#include "assetdata/NorvaneEx.h"

namespace Vorn {

OCSRawData OCSRawDataCore::Make(std::span<const std::byte> bytes, std::size_t zeros) {
    const std::size_t size = bytes.size() + zeros;
    if (size > std::numeric_limits<std::uint32_t>::max()) {
        throw NorvaneEx("assetdata/OCSRawData", __LINE__);
    }
    void* block = ::operator new(sizeof(OCSRawDataCore) + size);
    OCSRawData core(new (block) OCSRawDataCore(static_cast<std::uint32_t>(size)));
    auto* to = reinterpret_cast<std::byte*>(core.Get() + 1);
    if (!bytes.empty()) std::memcpy(to, bytes.data(), bytes.size());
    std::memset(to + bytes.size(), 0, zeros);
    return core;
}

}  // namespace Vorn
