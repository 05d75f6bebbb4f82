// A lagged exclusive-or generator of 32-bit numbers: for names, not for secrets.
//
// Each number is the exclusive or of the oldest of the last 250 and the one 103 before now (the
// trinomial x^250 + x^103 + 1). Used by one thread at a time.
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
