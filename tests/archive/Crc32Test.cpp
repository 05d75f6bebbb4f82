#include "archive/Crc32.h"

#include "tests/support/Tests.h"

namespace Vorn::Testing {

using archive::Crc32;

namespace {

std::uint32_t CrcOf(std::string_view text, std::size_t cut = 0) {
    Crc32 crc;
    for (const auto piece : {text.substr(0, cut), text.substr(cut)}) {
        crc.Update(std::as_bytes(std::span(piece)));
    }
    return crc.Value();
}

TEST(Crc32, GivesTheCataloguedSumsAndTheSameForEveryCut) {
    EXPECT_EQ(CrcOf(""), 0u);
    EXPECT_EQ(CrcOf("123456789"), 0xFC891918u);
    std::string text;
    std::uint32_t bitwise = 0xFFFFFFFF;
    // Longer than several of the strides in which the sum is taken.
    for (const char c : Noise(300)) {
        text.push_back(c);
        bitwise ^= static_cast<std::uint32_t>(static_cast<unsigned char>(c)) << 24;
        for (int bit = 0; bit < 8; ++bit) bitwise = bitwise << 1 ^ (bitwise >> 31) * 0x04C11DB7u;
        for (std::size_t cut = 0; cut <= text.size(); ++cut) {
            ASSERT_EQ(CrcOf(text, cut), ~bitwise) << text.size() << " bytes cut at " << cut;
        }
    }
}

}  // namespace
}  // namespace Vorn::Testing
