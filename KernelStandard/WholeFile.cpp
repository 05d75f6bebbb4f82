#include "KernelStandard/WholeFile.h"

#include <algorithm>

namespace Vorn {

std::optional<std::vector<std::byte>> ReadToEnd(File& file) {
    constexpr std::uint32_t kPiece = 1U << 20;
    // Asked only once: damage sets the size to 0, which would end the loop as if all were read.
    const std::uint32_t size = file.Size();
    std::vector<std::byte> bytes;
    while (file.Tell() < size) {
        const std::uint32_t piece = std::min(kPiece, size - file.Tell());
        const std::size_t before = bytes.size();
        bytes.resize(before + piece);
        if (file.Read(bytes.data() + before, piece) != piece) return std::nullopt;
    }
    // An earlier read may have found the damage.
    if (file.ReadFailed()) return std::nullopt;
    return bytes;
}

}  // namespace Vorn
