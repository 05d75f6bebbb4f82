#include "patch/compact/ContentCodec.h"

#include <array>

namespace patch::compact {

// Two of n random bytes are equal in n(n-1)/2 / 256 cases. Bytes of which models can make something
// are equal more often; the share that counts as noise leaves out what gains less than some 2 %.
bool IsNoise(ByteView bytes) {
    std::array<std::uint64_t, 256> counts{};
    for (const std::uint8_t byte : bytes) ++counts.at(byte);
    std::uint64_t pairs = 0;
    for (const std::uint64_t count : counts) pairs += count * (count - 1);
    const std::uint64_t n = bytes.size();
    // Few bytes vary by chance alone.
    const std::uint64_t allowed = n < 1024 ? 116 : n < 4096 ? 108 : 103;
    return pairs * 256 * 100 <= n * (n - 1) * allowed;
}

}  // namespace patch::compact
