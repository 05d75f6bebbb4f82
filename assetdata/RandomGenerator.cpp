#include "assetdata/RandomGenerator.h"

namespace Vorn {

// Fills the ring with SplitMix64 (Steele, Lea and Flood), because it has no weak seeds.
RandomGenerator::RandomGenerator(std::uint64_t seed) {
    for (std::uint32_t& word : ring_) {
        seed += 0x9E3779B97F4A7C15;
        std::uint64_t mixed = (seed ^ seed >> 30) * 0xBF58476D1CE4E5B9;
        mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EB;
        word = static_cast<std::uint32_t>(mixed >> 32);
    }
}

std::uint32_t RandomGenerator::Next() {
    std::uint32_t& word = ring_[index_];
    word ^= ring_[(index_ + kRing - kLag) % kRing];
    index_ = (index_ + 1) % kRing;
    return word;
}

}  // namespace Vorn
