#include "delta/DiffFormat.h"

#include "tests/delta/Samples.h"
#include "tests/support/Tests.h"

namespace delta::test {
namespace {

// The example of docs/formats/diff.md.
const ByteBuffer kStreamsExample{0x56, 0xd2, 0x08, 0x02, 0x50, 0x2a, 0xef, 0xae, 0x25,
                                 0x4c, 0xe9, 0xfa, 0x34, 0xb1, 0xb0, 0x87, 0x06, 0x00,
                                 0x08, 0x01, 0x02, 0x02, 0x02, 0xf5, 0x02, 0x21};

TEST(DiffFormat, TheWorkedExampleApplies) {
    EXPECT_TRUE(Makes(FromText("abcdefgh"), kStreamsExample, FromText("abXdefgh!")));
}

// Diffs live as long as patches do: what earlier builds made must stay readable.
TEST(DiffFormat, ModelledBytesStay) {
    const ByteBuffer before = FromText("speed 10\nname \"engine\"\ncolour red\nweight 500\n");
    const ByteBuffer after = FromText("speed 12\nname \"engine\"\nweight 500\nlength 20\n");
    const ByteBuffer diff{0x56, 0xd1, 0x2d, 0x01, 0x37, 0xca, 0xc3, 0xcc, 0x1c, 0x91, 0x0c,
                          0x7b, 0xce, 0x9f, 0x8b, 0xda, 0xfb, 0xe8, 0x02, 0x6c, 0xa8, 0x9a,
                          0xe1, 0xf1, 0xe5, 0x69, 0x24, 0x53, 0xf6, 0x6a, 0x5e, 0xab};
    EXPECT_EQ(DiffOf(before, after), diff);
    EXPECT_TRUE(Makes(before, diff, after));
}

TEST(DiffFormat, HeaderOfAnEmptyPair) {
    const ByteBuffer head = MakeHead(Method::Stored, {}, {}, {});
    ASSERT_EQ(head.size(), 16U);
    EXPECT_EQ(Parse(head).header.newSize, 0U);
}

TEST(DiffFormat, NumbersHaveOneForm) {
    for (const auto& [value, bytes] : Vorn::Testing::Table<std::uint64_t, ByteBuffer>{
             {0, {0}},
             {127, {0x7f}},
             {128, {0x80, 1}},
             {~std::uint64_t{0}, {255, 255, 255, 255, 255, 255, 255, 255, 255, 1}}}) {
        ByteBuffer written;
        ByteWriter(written).Number(value);
        EXPECT_EQ(written, bytes);
        EXPECT_EQ(ByteReader(bytes).Number(), value);
    }
    for (const ByteBuffer& bad :
         {ByteBuffer{0x80, 0}, ByteBuffer{0x80},
          ByteBuffer{255, 255, 255, 255, 255, 255, 255, 255, 255, 2}, ByteBuffer(11, 0x80)}) {
        EXPECT_THROW((void)ByteReader(bad).Number(), Error);
    }
    for (const std::int64_t value : {0L, -1L, 1L, 1L << 40, -(1L << 40)}) {
        EXPECT_EQ(UnfoldSign(FoldSign(value)), value);
    }
}

}  // namespace
}  // namespace delta::test
