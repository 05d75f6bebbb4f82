#pragma once

#include <cstdint>
#include <utility>

#include "delta/Bytes.h"
#include "delta/RangeCoder.h"

namespace patch::compact {

// delta::RangeEncoder, for a result whose size nobody knows in advance.
class GrowingEncoder {
public:
    static constexpr bool kDecodes = false;

    bool Code(bool bit, std::uint32_t probability) {
        if (room_ - used_ < kMargin) Grow();
        const std::uint64_t middle = low_ + ((high_ - low_) >> 16) * probability;
        (bit ? high_ : low_) = bit ? middle : middle + 1;
        for (; (low_ ^ high_) >> 56 == 0; low_ <<= 8, high_ = high_ << 8 | 0xffU) {
            bytes_[used_++] = static_cast<std::uint8_t>(low_ >> 56);
        }
        return bit;
    }

    // Returns the bytes written so far.
    [[nodiscard]] std::size_t Size() const { return used_; }

    // Returns all of them, and begins anew.
    [[nodiscard]] delta::ByteBuffer Finish() {
        if (room_ - used_ < kMargin) Grow();
        // The shortest number in the interval: the first byte of `high_` with zeros after it is not
        // below `low_`, since their first bytes differ.
        bytes_[used_++] = static_cast<std::uint8_t>(high_ >> 56);
        bytes_.resize(used_);
        delta::ByteBuffer done = std::move(bytes_);
        *this = GrowingEncoder();
        return done;
    }

private:
    static constexpr std::size_t kMargin = 16;

    void Grow() {
        room_ = 2 * room_ + 4096;
        bytes_.resize(room_);
    }

    delta::ByteBuffer bytes_;
    std::size_t room_ = 0;
    std::size_t used_ = 0;
    std::uint64_t low_ = 0;
    std::uint64_t high_ = ~std::uint64_t{0};
};

}  // namespace patch::compact
