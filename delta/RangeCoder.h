// An arithmetic coder of single bits, the entropy coder of method 1.
#pragma once

#include <cstdint>
#include <limits>

#include "delta/Bytes.h"

namespace delta {

// A bit of probability p costs about -log2(p) bits. The coder keeps an interval of 64-bit numbers
// and narrows it with each bit in proportion to its probability. The diff holds one number of the
// last interval; its leading bytes are written as soon as they cannot change.
//
// Encoder and decoder have the same interface, so one function can drive either: Code(bit,
// probability) writes `bit`, or ignores it and reads one, and returns the bit. `probability` is
// that of a 1, in 1/65536, and never 0 or 65536.
class RangeEncoder {
public:
    static constexpr bool kDecodes = false;

    // Borrows `out`. Bytes past its end are counted but not written, see Full.
    explicit RangeEncoder(std::span<std::uint8_t> out) : out_(out) {}

    bool Code(bool bit, std::uint32_t probability) {
        const std::uint64_t middle = low_ + ((high_ - low_) >> 16) * probability;
        (bit ? high_ : low_) = bit ? middle : middle + 1;
        for (; (low_ ^ high_) >> 56 == 0; low_ <<= 8, high_ = high_ << 8 | 0xffU) Put(low_);
        return bit;
    }

    // Writes the shortest number of the last interval. Returns the size of everything written.
    std::size_t Finish();

    [[nodiscard]] bool Full() const noexcept { return used_ > out_.size(); }

private:
    void Put(std::uint64_t number) {
        if (used_ < out_.size()) out_[used_] = static_cast<std::uint8_t>(number >> 56);
        ++used_;
    }

    std::span<std::uint8_t> out_;
    std::size_t used_ = 0;
    std::uint64_t low_ = 0;
    std::uint64_t high_ = std::numeric_limits<std::uint64_t>::max();
};

// Reads zeros after the end of its input, because Finish omits trailing zeros. Throws Error
// (Damaged) after more zeros than Finish can have omitted, so a hostile diff cannot decode
// indefinitely.
class RangeDecoder {
public:
    static constexpr bool kDecodes = true;

    explicit RangeDecoder(ByteView in) : in_(in) {
        for (int i = 0; i < 8; ++i) number_ = number_ << 8 | Take();
    }

    bool Code(bool /*bit*/, std::uint32_t probability) {
        const std::uint64_t middle = low_ + ((high_ - low_) >> 16) * probability;
        const bool bit = number_ <= middle;
        (bit ? high_ : low_) = bit ? middle : middle + 1;
        for (; (low_ ^ high_) >> 56 == 0; low_ <<= 8, high_ = high_ << 8 | 0xffU) {
            number_ = number_ << 8 | Take();
        }
        return bit;
    }

    // Returns whether all of the input was read.
    [[nodiscard]] bool AtEnd() const noexcept { return taken_ >= in_.size(); }

private:
    std::uint8_t Take() {
        if (taken_ >= in_.size() + 16) ThrowDamaged("its coded part ends too early");
        const std::uint8_t byte = taken_ < in_.size() ? in_[taken_] : std::uint8_t{0};
        ++taken_;
        return byte;
    }

    ByteView in_;
    std::uint64_t taken_ = 0;
    std::uint64_t number_ = 0;
    std::uint64_t low_ = 0;
    std::uint64_t high_ = std::numeric_limits<std::uint64_t>::max();
};

}  // namespace delta
