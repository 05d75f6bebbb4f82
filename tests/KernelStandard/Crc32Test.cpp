#include "KernelStandard/Crc32.h"

#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

// Taken in two pieces, of which the first has `cut` bytes.
std::uint32_t CrcOf(std::string_view text, std::size_t cut = 0) {
    Crc32 crc;
    crc.Update(std::as_bytes(std::span(text).first(cut)));
    crc.Update(std::as_bytes(std::span(text).subspan(cut)));
    return crc.Value();
}

TEST(Crc32, GivesTheCataloguedSumsAndTheBitwiseOnesForEveryLengthAndCut) {
    EXPECT_EQ(CrcOf(""), 0u);
    EXPECT_EQ(CrcOf("123456789"), 0xFC891918u);
    EXPECT_EQ(CrcOf("\0"sv), 0xB1F7404Bu);
    std::string text;
    std::uint32_t bitwise = 0xFFFFFFFF;
    for (unsigned i = 0; i < 100; ++i) {
        text.push_back(static_cast<char>(i * i * 7 + 3));
        bitwise ^= static_cast<std::uint32_t>(static_cast<unsigned char>(text.back())) << 24;
        for (int bit = 0; bit < 8; ++bit) bitwise = bitwise << 1 ^ (bitwise >> 31) * 0x04C11DB7u;
        for (std::size_t cut = 0; cut <= text.size(); ++cut) {
            ASSERT_EQ(CrcOf(text, cut), ~bitwise) << text.size() << " bytes cut at " << cut;
        }
    }
}

}  // namespace
}  // namespace Vorn::Testing
