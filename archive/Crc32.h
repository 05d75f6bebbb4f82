// The check sum of a member's content: CRC-32 with the polynomial 0x04C11DB7, most significant bit
// first, started from all ones and inverted at the end (catalogued as CRC-32/BZIP2).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace archive {

// Takes the bytes in pieces of any length; a copy continues from the same state.
class Crc32 {
public:
    void Update(std::span<const std::byte> bytes);

    // Returns the sum of all bytes so far.
    [[nodiscard]] std::uint32_t Value() const { return ~state_; }

private:
    std::uint32_t state_ = 0xFFFFFFFF;
};

}  // namespace archive
