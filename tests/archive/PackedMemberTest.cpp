#include "archive/PackedMember.h"

#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

using archive::PackedMember;

// Two blocks that are packed, one that is stored, and a last one that is short.
const std::string kContent = Prose(32768) + Noise(16384) + Prose(700);

std::span<const std::byte> BytesOf(const std::string& text) {
    return std::as_bytes(std::span(text));
}

PackedMember PackedContent(bool compress) {
    PackedMember packed;
    archive::Pack(BytesOf(kContent), compress, packed);
    return packed;
}

class PackedMembers : public testing::TestWithParam<bool> {};

TEST_P(PackedMembers, GiveBackTheirContentAndNoOther) {
    const PackedMember packed = PackedContent(GetParam());
    EXPECT_TRUE(GivesBack(packed, BytesOf(kContent)));
    EXPECT_FALSE(GivesBack(packed, BytesOf(kContent).first(kContent.size() - 1)));
    EXPECT_FALSE(GivesBack(packed, BytesOf(kContent + "x")));
    std::string other = kContent;
    other[40000] ^= 1;
    EXPECT_FALSE(GivesBack(packed, BytesOf(other)));
}

TEST_P(PackedMembers, ThatAreDamagedDoNotGiveBackTheirContent) {
    PackedMember packed = PackedContent(GetParam());
    for (std::size_t at = 0; at < packed.data.size(); at += at < 64 ? 1 : 97) {
        packed.data[at] ^= std::byte{1};
        ASSERT_FALSE(GivesBack(packed, BytesOf(kContent))) << "byte " << at << " flipped";
        packed.data[at] ^= std::byte{1};
    }
    const auto whole = packed.data;
    packed.data.pop_back();
    EXPECT_FALSE(GivesBack(packed, BytesOf(kContent))) << "cut";
    packed.data = whole;
    packed.data.push_back(std::byte{0});
    EXPECT_FALSE(GivesBack(packed, BytesOf(kContent))) << "longer";
    packed.data.resize(5);
    EXPECT_FALSE(GivesBack(packed, BytesOf(kContent))) << "without a whole header";
}

INSTANTIATE_TEST_SUITE_P(PlainAndCompressed, PackedMembers, testing::Bool());

}  // namespace
}  // namespace Vorn::Testing
