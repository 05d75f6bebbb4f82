#pragma once

#include <cstdint>

namespace delta::bench {

// Generates the same numbers in every run and on every machine (xorshift64*).
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed * 0x9e3779b97f4a7c15U + 1) {}

    std::uint64_t Next() {
        state_ ^= state_ >> 12;
        state_ ^= state_ << 25;
        state_ ^= state_ >> 27;
        return state_ * 0x2545f4914f6cdd1dU;
    }

    // Returns a number from 0 to count - 1.
    std::size_t Below(std::size_t count) { return static_cast<std::size_t>(Next() >> 11) % count; }
    std::size_t Between(std::size_t low, std::size_t high) { return low + Below(high - low + 1); }
    std::uint8_t Byte() { return static_cast<std::uint8_t>(Next() >> 40); }

    // Returns a number from -1 to 1.
    double Signed() { return static_cast<double>(Next() >> 11) / (1ULL << 52) - 1.0; }

private:
    std::uint64_t state_;
};

}  // namespace delta::bench
