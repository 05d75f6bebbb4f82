#include "patch/Sums.h"

#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

using patch::Sha256;
using patch::Sha256Of;
using patch::ToHex;

TEST(Sha256, DigestsBytesInPieces) {
    const Table<std::string, const char*> rows = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {std::string(1000000, 'a'),
         "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"}};
    for (const auto& [content, expected] : rows) {
        EXPECT_EQ(ToHex(Sha256Of(content)), expected);
        Sha256 pieces;
        for (std::size_t i = 0; i < content.size(); i += 997)
            pieces.Update(std::string_view(content).substr(i, 997));
        const Sha256 copy = pieces;
        EXPECT_EQ(ToHex(pieces.Finish()), expected);
        EXPECT_EQ(ToHex(pieces.Finish()), ToHex(Sha256Of(""))) << "it starts anew";
        EXPECT_EQ(ToHex(Sha256(copy).Finish()), expected) << "a copy is independent";
    }
}

TEST(Sha256, HexadecimalDigitsAreReadStrictly) {
    const std::string digits = ToHex(Sha256Of("abc"));
    EXPECT_EQ(patch::Sha256FromHex(digits), Sha256Of("abc"));
    std::string upper = digits;
    upper[0] = 'B';
    for (const std::string& wrong : {upper, digits.substr(1), digits + "0", std::string(64, 'g')})
        EXPECT_EQ(patch::Sha256FromHex(wrong), std::nullopt) << wrong;
}

TEST(Sums, LinesAreThoseOfSha256sum) {
    const TempFolder folder;
    std::vector<patch::Sum> sums;
    for (const std::string name : {"plain", "with blanks", "b\\slash", "two\nlines", "re\rturn",
                                   "\xC3\xA4", "Z", "a", "*star"}) {
        folder.Write(name, name);
        sums.push_back({name, Sha256Of(name)});
    }
    patch::SortSums(sums);
    std::string lines;
    for (const patch::Sum& sum : sums) lines += patch::FormatSum(sum);
    const TempFolder results;
    ASSERT_EQ(Shell("cd " + folder.Path() + " && LC_ALL=C sha256sum -- * >" + results.Path("sums")),
              0);
    EXPECT_EQ(lines, results.Read("sums"));
    EXPECT_EQ(patch::DigestOfSide({sums.rbegin(), sums.rend()}), Sha256Of(lines));
}

TEST(Sums, SpotsTellOnlyTheAlteredMembersSpot) {
    patch::Spots all;
    patch::Spots altered;
    patch::Spots halves[2];
    for (int i = 2000; i-- > 0;) {
        const std::string name = "Data/" + std::to_string(i);
        altered.Add(name, Sha256Of(i == 77 ? "other" : name));
        halves[i % 2].Add(name, Sha256Of(name));
    }
    for (int i = 0; i < 2000; ++i) {
        const std::string name = "Data/" + std::to_string(i);
        all.Add(name, Sha256Of(name));
    }
    halves[0].Join(halves[1]);
    EXPECT_EQ(halves[0], all) << "the order matters";
    for (std::size_t spot = 0; spot < patch::Spots::kCount; ++spot) {
        EXPECT_NE(all[spot], 0U);
        EXPECT_EQ(altered[spot] != all[spot], spot == patch::Spots::SpotOf("data\\77")) << spot;
    }
}

}  // namespace
}  // namespace Vorn::Testing
