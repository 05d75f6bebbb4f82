// Damage to patches and old archives: a wrong archive is never called a success.
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
        patch_ = folder_.Read("out/old-diff.va");
        old_ = folder_.Read("old.va");
    }

    // Applies what takes the place of the patch; whether the run ended well.
    bool ApplyDamaged(const std::string& patch) const {
        folder_.Write("patch.va", patch);
        Replace("old-tmp.va", "");
        return Judge(Apply("patch.va"), "\"patch.va\" ");
    }
    bool ApplyToDamaged(const std::string& old) const {
        folder_.Write("old.va", old);
        Replace("old-tmp.va", "");
        return Judge(Apply(), "\"old.va\" ");
    }

    [[nodiscard]] std::string Flipped(std::string bytes, std::size_t at) {
        bytes[at] = static_cast<char>(bytes[at] ^ 1 << random_() % 8);
        return bytes;
    }

    [[nodiscard]] std::string WithLowestBitFlipped(std::size_t at) const {
        std::string bytes = patch_;
        bytes[at] ^= 1;
        return bytes;
    }

    std::mt19937_64 random_{std::random_device{}()};
    std::string patch_;
    std::string old_;

private:
    bool Judge(const Outcome& outcome, const std::string& archive) const {
        SCOPED_TRACE(outcome.problems);
        if (outcome.exitCode == 0 && !outcome.problems.empty()) {
            // A file that is no archive changes nothing, and a line says so.
            EXPECT_THAT(outcome.problems, HasSubstr("\"patch.va\" is not an archive"));
            EXPECT_EQ(outcome.lines.size(), 7U);
            ExpectSameContent("old-tmp.va", "old.va");
        } else if (outcome.exitCode == 0) {
            ExpectSameContent("old-tmp.va", "new.va");
        } else {
            EXPECT_EQ(outcome.exitCode, 1);
            EXPECT_TRUE(!outcome.lines.empty() ||
                        outcome.problems.starts_with("VAConverter: " + archive));
        }
        EXPECT_EQ(folder_.Has("old-tmp.va"), outcome.exitCode == 0);
        return outcome.exitCode == 0;
    }
};

TEST_F(DamagedArchives, AFlippedBitInAPatchIsRefusedUnlessItChangesNothing) {
    int applied = 0;
    for (int i = 0; i < 150; ++i) {
        const std::size_t at = random_() % patch_.size();
        SCOPED_TRACE("byte " + std::to_string(at));
        applied += ApplyDamaged(Flipped(patch_, at)) ? 1 : 0;
    }
    // Few bits are of no account: those of the header's numbers that nothing uses.
    EXPECT_LT(applied, 15);
}

TEST_F(DamagedArchives, EveryKindOfRecordOfAPatchIsJudged) {
    const auto chunkOf = [&](const std::string& name) { return patch_.find(name + '\0') - 8; };
    // Of each member: its chunk's mark and length, name, sizes, check sum, attributes and content.
    for (const char* member : {"addedFiles.txt", "patchedFiles.txt", "added/short", "added/prose",
                               "added/noise", "changed", "small"}) {
        for (const std::size_t at : {0, 4, 8, 268, 272, 276, 292, 296, 304, 310}) {
            SCOPED_TRACE(member + std::to_string(at));
            EXPECT_FALSE(ApplyDamaged(WithLowestBitFlipped(chunkOf(member) + at)));
        }
    }
    const std::size_t index = patch_.rfind("IDX ");
    for (const std::size_t at : {0, 4, 8, 12, 16, 280}) {
        SCOPED_TRACE("index " + std::to_string(at));
        EXPECT_FALSE(ApplyDamaged(WithLowestBitFlipped(index + at)));
    }
    for (const std::size_t at : {kCountAt, kIndexOffsetAt}) {
        EXPECT_FALSE(ApplyDamaged(WithLowestBitFlipped(at)));
    }
    EXPECT_TRUE(ApplyDamaged(patch_));
}

TEST_F(DamagedArchives, TheLineNamesPatchPlaceAndMember) {
    const std::size_t content = patch_.find("added/short\0"s) + 288;
    std::string damaged = patch_;
    damaged[content] ^= 1;
    folder_.Write("patch.va", damaged);
    const Outcome outcome = Apply("patch.va");
    EXPECT_THAT(outcome.lines, IsEmpty());
    EXPECT_THAT(outcome.problems,
                HasSubstr("\"patch.va\" is damaged at byte " + std::to_string(content) +
                          ", member \"added/short\": "));
    EXPECT_THAT(outcome.problems, HasSubstr("fetch it again\n"));
    EXPECT_EQ(std::ranges::count(outcome.problems, '\n'), 1);
}

// Only the index is gone, and adding to the archive brings it back.
TEST_F(DamagedArchives, AnArchiveWhoseWriterWasKilledIsToldFromADamagedOne) {
    folder_.Write("patch.va", patch_);
    folder_.Write("more", Noise(50'000));
    const auto addMore = [this](const std::string& tracer) {
        return Shell("cd '" + folder_.Path() + "' && exec " + tracer +
                     " '" VARCHIVE "' a old.va more >/dev/null 2>&1");
    };
    const std::string kill = "strace -o /dev/null -e inject=pwrite64:signal=KILL:when=3";
    if (addMore(kill) != 128 + 9) GTEST_SKIP() << "needs strace";
    const Outcome outcome = Apply("patch.va");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.problems,
                HasSubstr("the index that the header promises is not there; if the program that "
                          "wrote it was stopped, add a file to it with VArchive, which writes the "
                          "index again, else fetch it again\n"));
    EXPECT_EQ(std::ranges::count(outcome.problems, '\n'), 1);
    ASSERT_EQ(addMore(""), 0);
    EXPECT_EQ(Apply("patch.va").exitCode, 0);
}

TEST_F(DamagedArchives, ACutPatchIsRefused) {
    std::vector<std::size_t> sizes = {0, 3, 20, 43, 44, 60, patch_.size() - 1};
    for (int i = 0; i < 40; ++i) sizes.push_back(random_() % patch_.size());
    for (const std::size_t size : sizes) {
        SCOPED_TRACE(size);
        EXPECT_EQ(ApplyDamaged(patch_.substr(0, size)), size < kFirstMember);
    }
}

TEST_F(DamagedArchives, APatchWithoutAnIndexIsAppliedAndALineSaysSo) {
    std::string walked = patch_.substr(0, patch_.rfind("IDX "));
    Put32(walked, kIndexOffsetAt, 0);
    folder_.Write("patch.va", walked);
    const Outcome outcome = Apply("patch.va");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.problems, HasSubstr("\"patch.va\" has no index"));
    ExpectSameContent("old-tmp.va", "new.va");

    walked[walked.find("added/short\0"s) + 288] ^= 1;
    EXPECT_FALSE(ApplyDamaged(walked));
}

TEST_F(DamagedArchives, ADamagedOldArchiveGivesNoResultUnlessItIsRight) {
    int applied = 0;
    for (int i = 0; i < 100; ++i) {
        const std::size_t at = random_() % old_.size();
        SCOPED_TRACE("byte " + std::to_string(at));
        applied += ApplyToDamaged(Flipped(old_, at)) ? 1 : 0;
    }
    EXPECT_LT(applied, 15);
    for (int i = 0; i < 20; ++i) {
        const std::size_t size = random_() % old_.size();
        SCOPED_TRACE("cut to " + std::to_string(size));
        EXPECT_FALSE(ApplyToDamaged(old_.substr(0, size)));
    }
}

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
    archive::Crc32 sum;
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
