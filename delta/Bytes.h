// Byte types of this folder, and the numbers in a diff that are not coded with models.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "delta/Error.h"

namespace delta {

using ByteView = std::span<const std::uint8_t>;
using ByteBuffer = std::vector<std::uint8_t>;

// Appends numbers and bytes to a borrowed buffer.
class ByteWriter {
public:
    explicit ByteWriter(ByteBuffer& out) : out_(out) {}

    void Byte(std::uint8_t value) { out_.push_back(value); }
    void Append(ByteView bytes) { out_.insert(out_.end(), bytes.begin(), bytes.end()); }

    // Appends seven bits in each byte, lowest first; the top bit is set if more bytes follow.
    void Number(std::uint64_t value);

    // Appends `byteCount` bytes, lowest first.
    void Fixed(std::uint64_t value, int byteCount);

private:
    ByteBuffer& out_;
};

// Reads numbers and bytes from the front of a view. Throws Error (Damaged) if the view ends too
// early, or if a number is longer than necessary: every number has exactly one valid form.
class ByteReader {
public:
    explicit ByteReader(ByteView bytes) : rest_(bytes) {}

    [[nodiscard]] ByteView Rest() const noexcept { return rest_; }

    std::uint8_t Byte() { return Take(1)[0]; }
    ByteView Take(std::uint64_t count);
    std::uint64_t Number();
    std::uint64_t Fixed(int byteCount);

private:
    ByteView rest_;
};

// Maps signed numbers to unsigned ones (0, -1, 1, -2, 2, ... to 0, 1, 2, 3, 4, ...), so numbers
// near 0 stay short.
constexpr std::uint64_t FoldSign(std::int64_t value) noexcept {
    const auto bits = static_cast<std::uint64_t>(value);
    return value < 0 ? ~(bits << 1) : bits << 1;
}

constexpr std::int64_t UnfoldSign(std::uint64_t folded) noexcept {
    const std::uint64_t half = folded >> 1;
    return static_cast<std::int64_t>((folded & 1) != 0 ? ~half : half);
}

// Decodes one number as ByteWriter::Number writes it. `next` returns the next byte.
template <typename NextByte>
std::uint64_t DecodeNumber(NextByte next) {
    std::uint64_t value = 0;
    for (int shift = 0; shift < 64; shift += 7) {
        const std::uint8_t byte = next();
        const std::uint64_t bits = byte & 0x7fU;
        if (shift == 63 && bits > 1) ThrowDamaged("a number is too large");
        value |= bits << shift;
        if ((byte & 0x80U) == 0) {
            if (byte == 0 && shift != 0) ThrowDamaged("a number is padded");
            return value;
        }
    }
    ThrowDamaged("a number is too long");
}

}  // namespace delta
