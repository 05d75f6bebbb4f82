#include "kernel/SipHash.h"

#include <bit>
#include <cstddef>
#include <random>

namespace Vorn {
namespace {

struct State {
    std::uint64_t v0, v1, v2, v3;

    void Round() noexcept {
        v0 += v1;
        v1 = std::rotl(v1, 13) ^ v0;
        v0 = std::rotl(v0, 32);
        v2 += v3;
        v3 = std::rotl(v3, 16) ^ v2;
        v0 += v3;
        v3 = std::rotl(v3, 21) ^ v0;
        v2 += v1;
        v1 = std::rotl(v1, 17) ^ v2;
        v2 = std::rotl(v2, 32);
    }

    void Absorb(std::uint64_t word) noexcept {
        v3 ^= word;
        Round();
        v0 ^= word;
    }
};

// Loads at most 8 bytes, little-endian.
std::uint64_t LoadWord(std::string_view bytes) noexcept {
    std::uint64_t word = 0;
    for (std::size_t i = bytes.size(); i-- > 0;) {
        word = word << 8 | static_cast<unsigned char>(bytes[i]);
    }
    return word;
}

}  // namespace

SipHashKey RandomSipHashKey() {
    std::random_device device;
    const auto word = [&] { return std::uint64_t{device()} << 32 | device(); };
    return {word(), word()};
}

std::uint64_t SipHash13(const SipHashKey& key, std::string_view text) noexcept {
    State state{.v0 = key[0] ^ 0x736f6d6570736575,
                .v1 = key[1] ^ 0x646f72616e646f6d,
                .v2 = key[0] ^ 0x6c7967656e657261,
                .v3 = key[1] ^ 0x7465646279746573};
    const std::uint64_t length = text.size();
    for (; text.size() >= 8; text.remove_prefix(8)) state.Absorb(LoadWord(text.substr(0, 8)));
    state.Absorb(length << 56 | LoadWord(text));
    state.v2 ^= 0xff;
    for (int i = 0; i < 3; ++i) state.Round();
    return state.v0 ^ state.v1 ^ state.v2 ^ state.v3;
}

}  // namespace Vorn
