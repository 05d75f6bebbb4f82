// Damaged archives: a wrong result is never called a success.
#include "archive/Crc32.h"
#include "tests/KernelStandard/FileLayer.h"
#include "tests/converter/Workbench.h"

namespace Vorn::Testing {
namespace {

// A patch with every kind of member: small and large, plain, compressed and stored blocks, diffs of
// both kinds, and lists of which one is compressed.
class DamagedArchives : public Workbench {
protected:
    void SetUp() override {
        PackPair({{"CFIL00000000", "1"},
                  {"changed", Prose(9000)},
                  {"small", "old"},
                  {"gone", "old"},
                  {"keep/noise", Noise(20000, 1)},
                  {"keep/prose", Prose(40000)},
                  {"keep/short", "same"}},
                 {{"CFIL00000000", "2"},
                  {"changed", Prose(5000) + Noise(6000, 2)},
                  {"small", "new"},
                  {"keep/noise", Noise(20000, 1)},
                  {"keep/prose", Prose(40000)},
                  {"keep/short", "same"},
                  {"added/noise", Noise(3000, 3)},
                  {"added/prose", Prose(40000)},
                  {"added/short", "new"}});
        ASSERT_EQ(Diff().exitCode, 0);
        old_ = folder_.Read("old.va");
    }

    std::string old_;
};

TEST_F(DamagedArchives, PatchdiffNamesDamagedMembersAndGoesOn) {
    std::string damaged = old_;
    damaged[damaged.find("keep/short\0"s) + 288] ^= 1;
    folder_.Write("old.va", damaged);
    damaged = folder_.Read("new.va");
    damaged[damaged.find("added/short\0"s) + 288] ^= 1;
    folder_.Write("new.va", damaged);
    Replace("out/old-diff.va", "");
    const Outcome outcome = Diff();
    EXPECT_EQ(outcome.exitCode, 0);
    for (const char* problem : {"\"old.va\" is damaged: the content of \"keep/short\"",
                                "\"new.va\" is damaged: the content of \"added/short\""}) {
        EXPECT_THAT(outcome.problems, HasSubstr(problem));
    }
    EXPECT_EQ(std::ranges::count(outcome.problems, '\n'), 2);
}

// A writer without regard for the marks of streams stores them plain; the sum is of the stored
// bytes.
TEST_F(DamagedArchives, APlainMemberThatBeginsLikeAStreamIsNotDamaged) {
    const std::string stream = "CFIL\1\1\0\0\3\0\0\0\3\x80"s + "abc";
    std::string archive = RawArchive({{"stream", stream}});
    Crc32 sum;
    sum.Update(std::as_bytes(std::span(stream)));
    for (std::size_t at = 0; (at = archive.find("stream\0"s, at)) != std::string::npos; ++at) {
        Put32(archive, at + 268, sum.Value());
        Put32(archive, at + 284, 0);
    }
    for (const char* name : {"old.va", "new.va"}) folder_.Write(name, archive);
    Replace("out/old-diff.va", "");
    EXPECT_EQ(Diff().problems, "");
    EXPECT_EQ(Apply().problems, "");
}

}  // namespace
}  // namespace Vorn::Testing
