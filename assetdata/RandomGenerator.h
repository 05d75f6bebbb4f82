// A generator of 32-bit pseudo-random numbers, for names and not for secrets.
//
// Each number is the exclusive or of the numbers 250 and 103 before it (the trinomial
// x^250 + x^103 + 1). For one thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Vorn {

class RandomGenerator {
public:
    explicit RandomGenerator(std::uint64_t seed);

    [[nodiscard]] std::uint32_t Next();

private:
    static constexpr std::size_t kRing = 250;
    static constexpr std::size_t kLag = 103;

    std::array<std::uint32_t, kRing> ring_;
    std::size_t index_ = 0;
};

}  // namespace Vorn
