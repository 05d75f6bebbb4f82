#include "delta/Crc32.h"

#include "tests/delta/Samples.h"
#include "tests/support/Tests.h"

namespace delta::test {
namespace {

// Bit by bit, as the sum is defined.
std::uint32_t PlainCrc32(ByteView bytes) {
    std::uint32_t sum = 0xffffffffU;
    for (const std::uint8_t byte : bytes) {
        sum ^= byte;
        for (int bit = 0; bit < 8; ++bit) sum = sum >> 1 ^ ((sum & 1) != 0 ? 0xedb88320U : 0U);
    }
    return ~sum;
}

// Lengths around those that are summed in pieces, at addresses of any alignment.
TEST(Crc32, IsTheDefinedSumAtEveryLength) {
    EXPECT_EQ(Crc32(FromText("123456789")), 0xcbf43926U);
    const ByteBuffer noise = Noise(70'000, 1);
    const ByteBuffer zeros(300);
    for (std::size_t size = 0; size < 300; ++size) {
        const ByteView bytes = ByteView(noise).subspan(size % 17, size);
        EXPECT_EQ(Crc32(bytes), PlainCrc32(bytes)) << size;
        EXPECT_EQ(Crc32(ByteView(zeros).first(size)), PlainCrc32(ByteView(zeros).first(size)));
    }
    EXPECT_EQ(Crc32(noise), PlainCrc32(noise));
}

}  // namespace
}  // namespace delta::test
