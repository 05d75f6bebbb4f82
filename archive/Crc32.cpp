#include "archive/Crc32.h"

#if defined(__x86_64__)
#include <tmmintrin.h>
#include <wmmintrin.h>
#endif

#include <array>
#include <cstring>

namespace archive {

namespace {

constexpr std::uint32_t kPolynomial = 0x04C11DB7;
constexpr std::size_t kStride = 16;

using Table = std::array<std::uint32_t, 256>;

// Table n holds what a byte adds to the sum when n more bytes follow it, so that a stride of bytes
// needs one look-up each and no chain of steps between them.
constexpr std::array<Table, kStride> MakeTables() {
    std::array<Table, kStride> tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t sum = byte << 24;
        for (int bit = 0; bit < 8; ++bit) sum = sum << 1 ^ (sum >> 31) * kPolynomial;
        tables[0][byte] = sum;
    }
    for (std::size_t n = 1; n < kStride; ++n) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t sum = tables[n - 1][byte];
            tables[n][byte] = sum << 8 ^ tables[0][sum >> 24];
        }
    }
    return tables;
}

constexpr std::array<Table, kStride> kTables = MakeTables();

std::uint32_t Index(std::byte byte) { return std::to_integer<std::uint32_t>(byte); }

std::uint32_t AddStride(std::uint32_t sum, std::span<const std::byte, kStride> bytes) {
    std::uint32_t next = kTables[kStride - 1][Index(bytes[0]) ^ sum >> 24] ^
                         kTables[kStride - 2][Index(bytes[1]) ^ (sum >> 16 & 0xFF)] ^
                         kTables[kStride - 3][Index(bytes[2]) ^ (sum >> 8 & 0xFF)] ^
                         kTables[kStride - 4][Index(bytes[3]) ^ (sum & 0xFF)];
    for (std::size_t i = 4; i < kStride; ++i) next ^= kTables[kStride - 1 - i][Index(bytes[i])];
    return next;
}

std::uint32_t AddByTables(std::uint32_t sum, std::span<const std::byte> bytes) {
    for (; bytes.size() >= kStride; bytes = bytes.subspan(kStride)) {
        sum = AddStride(sum, bytes.first<kStride>());
    }
    for (const std::byte byte : bytes) sum = sum << 8 ^ kTables[0][sum >> 24 ^ Index(byte)];
    return sum;
}

#if defined(__x86_64__)

constexpr std::size_t kLanes = 4;
constexpr std::size_t kFoldStride = kLanes * kStride;

using Bits = std::int64_t __attribute__((vector_size(16)));

// Returns x to the power of `exponent` modulo the polynomial.
constexpr std::int64_t Power(int exponent) {
    std::uint32_t power = 1;
    for (; exponent > 0; --exponent) power = power << 1 ^ (power >> 31) * kPolynomial;
    return power;
}

// Loads 16 bytes as one number whose highest bit is the first of the message.
[[gnu::target("ssse3")]] inline Bits Load(const std::byte* at) {
    const __m128i reversed = _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    return (Bits)_mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at)), reversed);
}

// Moves 128 bits of a message forward: returns bits with the same remainder at a later place, added
// to those there. `powers` has the powers of x that lead there, for the low and the high half.
[[gnu::target("pclmul")]] inline Bits Fold(Bits bits, Bits powers, Bits there) {
    return there ^ (Bits)_mm_clmulepi64_si128((__m128i)bits, (__m128i)powers, 0x00) ^
           (Bits)_mm_clmulepi64_si128((__m128i)bits, (__m128i)powers, 0x11);
}

// Adds a whole number of strides. Takes a fifth of the time of the tables, which would cost more
// than reading or writing a plain member. Four lanes run side by side, since each product waits for
// the one before in its lane.
[[gnu::target("pclmul,ssse3")]] std::uint32_t AddFolded(std::uint32_t sum,
                                                        std::span<const std::byte> bytes) {
    constexpr Bits kByStride{Power(8 * kFoldStride), Power(8 * kFoldStride + 64)};
    constexpr Bits kByPiece{Power(8 * kStride), Power(8 * kStride + 64)};
    const std::byte* at = bytes.data();
    const std::byte* const end = at + bytes.size();
    std::array<Bits, kLanes> lanes;
    for (std::size_t i = 0; i < kLanes; ++i) lanes[i] = Load(at + i * kStride);
    // A sum so far is the same as inverting the bits that come next.
    lanes[0] ^= Bits{0, static_cast<std::int64_t>(std::uint64_t{sum} << 32)};
    for (at += kFoldStride; at != end; at += kFoldStride) {
        for (std::size_t i = 0; i < kLanes; ++i) {
            lanes[i] = Fold(lanes[i], kByStride, Load(at + i * kStride));
        }
    }
    Bits folded = lanes[0];
    for (std::size_t i = 1; i < kLanes; ++i) folded = Fold(folded, kByPiece, lanes[i]);
    std::array<std::byte, kStride> left{};
    const Bits reversed = Load(reinterpret_cast<const std::byte*>(&folded));
    std::memcpy(left.data(), &reversed, left.size());
    // The sum so far is in already.
    return AddByTables(0, left);
}

bool CanFold() { return __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("ssse3"); }

#endif

}  // namespace

void Crc32::Update(std::span<const std::byte> bytes) {
#if defined(__x86_64__)
    if (bytes.size() >= kFoldStride && CanFold()) {
        const std::size_t folded = bytes.size() / kFoldStride * kFoldStride;
        state_ = AddFolded(state_, bytes.first(folded));
        bytes = bytes.subspan(folded);
    }
#endif
    state_ = AddByTables(state_, bytes);
}

}  // namespace archive
