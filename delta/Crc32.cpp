#include "delta/Crc32.h"

#include <lzma.h>

#if defined(__x86_64__)
#include <wmmintrin.h>

#include <array>
#include <cstring>
#endif

namespace delta {
namespace {

std::uint32_t Continue(ByteView bytes, std::uint32_t sum) {
    return lzma_crc32(bytes.data(), bytes.size(), sum);
}

#if defined(__x86_64__)

constexpr std::size_t kPiece = 16;
constexpr std::size_t kStride = 4 * kPiece;

using Bits = std::int64_t __attribute__((vector_size(16)));

Bits Load(const std::uint8_t* at) {
    return (Bits)_mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

// Folds 128 bits of a message into later ones: returns `there` plus the bits that have at that
// position the same remainder as `bits` have here. `powers` holds the two powers of x for the
// distance.
[[gnu::target("pclmul")]] Bits Fold(Bits bits, Bits powers, Bits there) {
    return there ^ (Bits)_mm_clmulepi64_si128((__m128i)bits, (__m128i)powers, 0x00) ^
           (Bits)_mm_clmulepi64_si128((__m128i)bits, (__m128i)powers, 0x11);
}

// Computes the CRC-32 by folding four pieces in parallel, because each product depends on the one
// before. Much faster than liblzma's tables, which would dominate when little of a large file
// changed.
[[gnu::target("pclmul")]] std::uint32_t FoldedCrc32(ByteView bytes) {
    // x to the power of 512 + 32, 512 - 32, 128 + 32 and 128 - 32 modulo the polynomial, reflected.
    constexpr Bits kByStride{0x154442bd4, 0x1c6e41596};
    constexpr Bits kByPiece{0x1751997d0, 0x0ccaa009e};
    const std::uint8_t* at = bytes.data();
    const std::uint8_t* const end = at + bytes.size() / kStride * kStride;
    std::array<Bits, 4> sums{Load(at), Load(at + kPiece), Load(at + 2 * kPiece),
                             Load(at + 3 * kPiece)};
    // CRC-32 starts from all ones, which is the same as inverting the first 32 bits.
    sums[0] ^= Bits{0xffffffff, 0};
    for (at += kStride; at != end; at += kStride) {
        for (std::size_t i = 0; i < sums.size(); ++i) {
            sums[i] = Fold(sums[i], kByStride, Load(at + i * kPiece));
        }
    }
    Bits sum = sums[0];
    for (std::size_t i = 1; i < sums.size(); ++i) sum = Fold(sum, kByPiece, sums[i]);
    std::array<std::uint8_t, kPiece> left{};
    std::memcpy(left.data(), &sum, sizeof sum);
    // liblzma inverts this to a start from zeros: the ones are in `sums` already.
    constexpr std::uint32_t kFromZero = 0xffffffffU;
    return Continue(bytes.subspan(bytes.size() / kStride * kStride), Continue(left, kFromZero));
}

#endif

}  // namespace

std::uint32_t Crc32(ByteView bytes) {
#if defined(__x86_64__)
    if (bytes.size() >= kStride && __builtin_cpu_supports("pclmul")) return FoldedCrc32(bytes);
#endif
    return Continue(bytes, 0);
}

}  // namespace delta
