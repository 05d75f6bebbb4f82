#include "KernelStandard/Crc32.h"

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <string_view>

namespace Vorn {
namespace {

std::uint32_t CrcOf(std::string_view text) {
    Crc32 crc;
    crc.Update(std::as_bytes(std::span(text)));
    return crc.Value();
}

TEST(Crc32, GivesTheCataloguedSums) {
    EXPECT_EQ(CrcOf(""), 0u);
    EXPECT_EQ(CrcOf("123456789"), 0xFC891918u);
    EXPECT_EQ(CrcOf(std::string(1, '\0')), 0xB1F7404Bu);
}

TEST(Crc32, EqualsTheBitwiseSumForEveryLengthAndCut) {
    std::string text;
    std::uint32_t bitwise = 0xFFFFFFFF;
    for (unsigned i = 0; i < 100; ++i) {
        text.push_back(static_cast<char>(i * i * 7 + 3));
        bitwise ^= static_cast<std::uint32_t>(static_cast<unsigned char>(text.back())) << 24;
        for (int bit = 0; bit < 8; ++bit) bitwise = bitwise << 1 ^ (bitwise >> 31) * 0x04C11DB7u;
        ASSERT_EQ(CrcOf(text), ~bitwise) << text.size() << " bytes";
    }
    for (std::size_t cut = 0; cut <= text.size(); ++cut) {
        Crc32 crc;
        crc.Update(std::as_bytes(std::span(text).first(cut)));
        crc.Update(std::as_bytes(std::span(text).subspan(cut)));
        ASSERT_EQ(crc.Value(), CrcOf(text)) << "cut at " << cut;
    }
}

}  // namespace
}  // namespace Vorn
