#include "tests/converter/Workbench.h"

namespace Vorn::Testing {
namespace {

class RoundTrip : public Workbench {
protected:
    std::size_t Below(std::size_t end) { return random_() % end; }

    std::string SomeBytes() {
        constexpr std::size_t kSizes[] = {1, 3, 17, 1024, 1025, 20000};
        std::string bytes(kSizes[Below(std::size(kSizes))], '\0');
        const std::size_t values = Below(2) == 0 ? 4 : 256;
        for (char& c : bytes) c = static_cast<char>(Below(values));
        if (Below(4) == 0) bytes.insert(0, "CFIL");
        return bytes;
    }

    std::mt19937_64 random_;
};

TEST_F(RoundTrip, ApplyingTheDifferenceGivesTheNewArchive) {
    const auto seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    random_.seed(seed);
    Members before;
    Members after;
    std::size_t told = 0;
    for (int i = 0; i < 300; ++i) {
        const std::string name =
            "d" + std::to_string(Below(5)) + (Below(3) == 0 ? "/e/" : "/") + std::to_string(i);
        std::string content = SomeBytes();
        const std::size_t fate = Below(6);  // removed, added, changed, else identical
        if (fate != 1) before.emplace_back(name, content);
        if (fate != 1) ++told;
        if (fate == 2) content.insert(Below(content.size() + 1), SomeBytes());
        if (fate != 0) after.emplace_back(name, content);
    }
    std::ranges::shuffle(after, random_);
    PackPair(before, after);
    ASSERT_EQ(Unpack("new.va").size(), after.size());

    const Outcome diff = Diff();
    EXPECT_EQ(diff.exitCode, 0) << diff.problems;
    EXPECT_EQ(diff.lines.size(), 300U);
    const Outcome apply = Apply();
    EXPECT_EQ(apply.exitCode, 0) << apply.problems;
    EXPECT_EQ(apply.lines.size(), told);
    ExpectSameContent("old-tmp.va", "new.va");
}

}  // namespace
}  // namespace Vorn::Testing
