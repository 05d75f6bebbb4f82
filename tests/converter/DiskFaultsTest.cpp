// Full disks and failing system calls: never a result of 0 with something wrong or lost.
#include "tests/converter/Workbench.h"

namespace Vorn::Testing {
namespace {

class DiskFaults : public Workbench {
protected:
    void SetUp() override {
        PackPair({{"a", Noise(40000, 1)}, {"gone", "old"}, {"b", "same"}},
                 {{"a", Noise(40000, 2)}, {"b", "same"}, {"added", Noise(40000, 3)}});
        ASSERT_EQ(Diff().exitCode, 0);
        fs::copy(folder_.Path("out/old-diff.va"), folder_.Path("good.va"));
        inputs_ = Inputs();
        ASSERT_TRUE(RunBoth());
    }

    [[nodiscard]] std::string Inputs() const {
        return folder_.Read("old.va") + folder_.Read("new.va") + folder_.Read("good.va");
    }

    // Both operations, without earlier results, but with what a run left unfinished; whether both
    // ended well.
    bool RunBoth(const std::string& tracer = {}) const {
        RemoveResults();
        const int diff = Convert({"patchdiff", "old.va", "new.va", "out"}, tracer).exitCode;
        if (diff == 0) ExpectSameContent("out/old-diff.va", "good.va");
        const int apply = Convert({"patchapply", "old.va", "good.va", "x"}, tracer).exitCode;
        if (apply == 0) ExpectSameContent("old-tmp.va", "new.va");
        EXPECT_TRUE(Inputs() == inputs_);
        return diff == 0 && apply == 0;
    }
    void RemoveResults() const {
        // The second is where a patch is kept that could not be moved.
        for (const char* result : {"out/old-diff.va", "out/old/old-diff.va", "old-tmp.va"}) {
            Replace(result, "");
        }
    }

    std::string inputs_;
};

TEST_F(DiskFaults, FullDiskIsNeverASuccess) {
    // The folder of the working files, of the patch, and the current one with all else in it.
    for (const std::string& full : {bin_, "out"s, ""s}) {
        SCOPED_TRACE(full);
        int failed = 0;
        for (const std::size_t room : {1, 3, 8, 16, 24, 32, 48, 200}) {
            RemoveResults();
            if (!MakeSmallDisk(full, room * 4096)) GTEST_SKIP() << "mounting is not permitted";
            failed += RunBoth() ? 0 : 1;
            ReleaseDisks();
        }
        EXPECT_GE(failed, 4);
        EXPECT_LT(failed, 8);
    }
}

TEST_F(DiskFaults, ReasonForAMemberThatCannotBeAddedIsTold) {
    const std::string old = folder_.Read("old.va");
    std::string damaged = old;
    damaged[damaged.rfind("IDX ") - 1] ^= 1;
    folder_.Write("damaged.va", damaged);
    Outcome outcome = Convert({"patchapply", "damaged.va", "good.va", "x"});
    EXPECT_EQ(outcome.lines.back(), "ERROR> Failed to add unchanged file b");
    EXPECT_THAT(outcome.problems, HasSubstr("the content of \"b\" does not match its check sum"));

    folder_.Write("full/old.va", old);
    if (!MakeSmallDisk("full", 8192)) GTEST_SKIP() << "mounting is not permitted";
    outcome = Convert({"patchapply", "full/old.va", "good.va", "x"});
    EXPECT_EQ(outcome.lines.back(), "Failed to add added");
    EXPECT_THAT(outcome.problems, HasSubstr("cannot write \"added\""));
}

class SystemCallFaults : public DiskFaults, public testing::WithParamInterface<const char*> {};

TEST_P(SystemCallFaults, NthFailureIsNeverASuccessWithAWrongResult) {
    // A sanitizer makes system calls of its own, and ends the program with 0 when one fails.
    if (VORN_SANITIZED) GTEST_SKIP() << "for builds without a sanitizer";
    const Outcome traced = Convert({}, "strace -o /dev/null");
    if (traced.exitCode != 1) GTEST_SKIP() << "tracing is not permitted: " << traced.problems;
    int failed = 0;
    for (const int nth : {1, 2, 3, 4, 5, 7, 9, 12, 15, 19, 24, 31, 40, 60}) {
        SCOPED_TRACE(nth);
        const std::string when = ":when=" + std::to_string(nth);
        failed += RunBoth("strace -o /dev/null -e inject="s + GetParam() + when) ? 0 : 1;
    }
    EXPECT_GT(failed, 0);
    EXPECT_TRUE(RunBoth());  // whatever was left behind
}

INSTANTIATE_TEST_SUITE_P(Calls, SystemCallFaults,
                         testing::Values("write,pwrite64:error=ENOSPC", "openat:error=EACCES",
                                         "/^rename:error=EIO", "read,pread64:error=EIO",
                                         "write,pwrite64:signal=KILL"));

}  // namespace
}  // namespace Vorn::Testing
