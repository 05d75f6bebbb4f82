#include "archive/Crc32.h"

#include <array>

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

}  // namespace

void Crc32::Update(std::span<const std::byte> bytes) {
    std::uint32_t sum = state_;
    for (; bytes.size() >= kStride; bytes = bytes.subspan(kStride)) {
        sum = AddStride(sum, bytes.first<kStride>());
    }
    for (const std::byte byte : bytes) sum = sum << 8 ^ kTables[0][sum >> 24 ^ Index(byte)];
    state_ = sum;
}

}  // namespace archive
