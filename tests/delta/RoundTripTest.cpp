#include "delta/DiffFormat.h"
#include "tests/delta/Samples.h"
#include "tests/support/Tests.h"

namespace delta::test {
namespace {

constexpr std::size_t kOverhead = 20;

ByteBuffer Cut(ByteBuffer bytes, std::size_t from, std::size_t count) {
    const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(from);
    bytes.erase(at, at + static_cast<std::ptrdiff_t>(count));
    return bytes;
}

ByteBuffer Insert(ByteBuffer bytes, std::size_t at, const ByteBuffer& piece) {
    bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(at), piece.begin(), piece.end());
    return bytes;
}

// Returns the same length with other bytes from `from` on.
ByteBuffer Rewritten(ByteBuffer bytes, std::size_t from, std::size_t count) {
    std::ranges::copy(Noise(count, 77), bytes.begin() + static_cast<std::ptrdiff_t>(from));
    return bytes;
}

ByteBuffer Sprinkle(ByteBuffer bytes, std::size_t step) {
    for (std::size_t i = step / 2; i < bytes.size(); i += step) bytes[i] ^= 0x21U;
    return bytes;
}

TEST(RoundTrip, EveryShapeComesBackWithinItsSize) {
    const ByteBuffer small = Config(3000, 1);
    const ByteBuffer noise = Noise(200'000, 2);
    const ByteBuffer large = Join(Noise(1'000'000, 3), Config(400'000, 4));
    const ByteBuffer turned = Join(Cut(large, 0, 500'000), Cut(large, 500'000, 900'000));
    const Vorn::Testing::Table<const char*, ByteBuffer, ByteBuffer, std::size_t> rows = {
        {"both empty", {}, {}, 17},
        {"old empty", {}, FromText("x"), 18},
        {"new empty", small, {}, 19},
        {"one byte to another", FromText("a"), FromText("b"), 18},
        {"identical", small, small, 22},
        {"identical, large", large, large, 26},
        {"a line inserted", small, Insert(small, 1500, FromText("  entry-7 \"new\"\n")), 48},
        {"a line removed", small, Cut(small, 1000, 30), 30},
        {"text to noise", small, Noise(3000, 5), 3000 + kOverhead},
        {"noise shifted", noise, Insert(noise, 77, Noise(10, 6)), 50},
        {"the middle rewritten", noise, Rewritten(noise, 50'000, 60'000), 60'000 + 250},
        {"noise to other noise", noise, Rewritten(noise, 0, 200'000), 200'000 + kOverhead},
        {"sparse changes", noise, Sprinkle(noise, 1000), 17 + 200 * 3},
        {"halves exchanged", large, turned, 40},
        {"from small to large", small, large, large.size() + kOverhead},
        {"16 KB less one", Config(16383, 7), Config(16383, 8), 16383},
        {"16 KB and one", Noise(16385, 9), Sprinkle(Noise(16385, 9), 100), 700},
        {"index steps on both sides", Noise(1U << 20, 1), Cut(Noise(1U << 20, 1), 9, 5), 40},
        {"above the first step", Noise((1U << 20) + 1, 1), Cut(Noise(1U << 20, 1), 9, 5), 40},
        {"many differences", large, Sprinkle(large, 3), large.size()},
    };
    for (const auto& [name, before, after, atMost] : rows) {
        SCOPED_TRACE(name);
        const ByteBuffer diff = DiffOf(before, after);
        EXPECT_TRUE(Makes(before, diff, after));
        EXPECT_LE(diff.size(), atMost);
        EXPECT_EQ(diff, DiffOf(before, after));
    }
}

TEST(RoundTrip, EveryMethodWinsSomewhere) {
    // Repeats over a distance that only a general packer sees.
    const ByteBuffer echo = Noise(90'000, 1);
    const ByteBuffer noise = Noise(2'000'000, 2);
    const Vorn::Testing::Table<Method, ByteBuffer, ByteBuffer> rows = {
        {Method::Stored, {}, Noise(500, 3)},
        {Method::Modelled, Config(3000, 1), Cut(Config(3000, 1), 500, 40)},
        {Method::Streams, noise, Sprinkle(noise, 4)},
        {Method::ZstdAfter, Config(100, 1), Join(echo, echo)},
    };
    for (const auto& [method, before, after] : rows) {
        const ByteBuffer diff = DiffOf(before, after);
        EXPECT_EQ(Parse(diff).header.method, method) << static_cast<int>(method);
        EXPECT_TRUE(Makes(before, diff, after));
    }
}

}  // namespace
}  // namespace delta::test
