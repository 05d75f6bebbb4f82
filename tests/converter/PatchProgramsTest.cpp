// Scripts in the place of the programs that make and apply the diff of one member.
#include <future>

#include "tests/converter/Workbench.h"

namespace Vorn::Testing {
namespace {

class PatchPrograms : public Workbench {
protected:
    void SetUp() override {
        PackPair({{"a", "old"}, {"dir/b", "old"}}, {{"a", "old"}, {"dir/b", "new"}});
    }
};

TEST_F(PatchPrograms, DiffProgramIsJudgedByTheFileItLeaves) {
    const std::string failed = "ERROR> Failed to add out/old/dir/b.diff";
    const Table<std::string, int, Lines> rows = {
        {"", 1, {"Identical a"}},
        {"exit 0", 1, {"Identical a", failed}},
        {"exit 5", 1, {"Identical a", failed}},
        {"kill -9 $$", 1, {"Identical a", failed}},
        {": > \"$3\"", 0, {"Identical a", "Diffed dir/b"}},
        {"cp \"$2\" \"$3\"; exit 5", 0, {"Identical a", "Diffed dir/b"}}};
    for (const auto& [script, exitCode, lines] : rows) {
        SCOPED_TRACE(script);
        Replace(diff_, script);
        Replace("out/old-diff.va", "");
        // An earlier run's diff must not pass for this one's.
        folder_.Write("out/old/dir/b.diff", "stale");
        const Outcome outcome = Diff();
        EXPECT_EQ(outcome.exitCode, exitCode);
        EXPECT_EQ(outcome.lines, lines);
        EXPECT_EQ(folder_.Has("out/old-diff.va"), exitCode == 0);
    }
    EXPECT_EQ(Unpack("out/old-diff.va")["dir/b"], "new");

    // An empty diff is missed when the patch is applied.
    Replace(diff_, ": > \"$3\"");
    Replace("out/old-diff.va", "");
    EXPECT_EQ(Diff().exitCode, 0);
    const Outcome outcome = Apply();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.lines, ElementsAre("Unchanged a", ">>>> OPEN ERROR dir/b"));
}

TEST_F(PatchPrograms, PatchProgramIsJudgedByItsExitCode) {
    ASSERT_EQ(Diff().exitCode, 0);
    const std::string error = ">>>> PATCH ERROR dir/b";
    const std::string outFile = folder_.Path(bin_ + "/outFile");
    const std::string same = "Unchanged a";
    const std::string good = R"(test $# = 3 && grep -qx old "$1" && printf new > "$3")";
    const Table<std::string, int, Lines> rows = {
        {"", 1, {same, error}},
        {"exit 5", 1, {same, error, ">>>> EXIT CODE:  5"}},
        {"kill -9 $$", 1, {same, error, ">>>> EXIT CODE:  137"}},
        {"exit 0", 1, {same, "ERROR> Failed to add patched file " + outFile}},
        {"truncate -s 5G \"$3\"", 1, {same}},  // larger than any member
        {good, 0, {same, "Patched dir/b"}}};
    for (const auto& [script, exitCode, lines] : rows) {
        SCOPED_TRACE(script);
        Replace(bin_ + "/vpatchl-w32.exe", script);
        folder_.Write(bin_ + "/outFile", "stale");
        const Outcome outcome = Apply();
        EXPECT_EQ(outcome.exitCode, exitCode);
        EXPECT_EQ(outcome.lines, lines);
        EXPECT_EQ(outcome.problems.find("cannot start the patch program") != std::string::npos,
                  script.empty());
        EXPECT_EQ(folder_.Has("old-tmp.va"), exitCode == 0);
    }
    ExpectSameContent("old-tmp.va", "new.va");
}

TEST_F(PatchPrograms, AnEarlierOutputThatCannotBeDeletedIsNotTakenForThisOne) {
    ASSERT_EQ(Diff().exitCode, 0);
    const auto readOnly = fs::perms::owner_read;
    Replace("out/old-diff.va", "");
    Replace(diff_, "exit 5");
    folder_.Write("out/old/dir/b.diff", "stale", readOnly);
    Outcome outcome = Diff();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.lines.back(), "ERROR> Failed to add out/old/dir/b.diff");
    EXPECT_THAT(outcome.problems, HasSubstr("cannot delete \"out/old/dir/b.diff\""));
    EXPECT_FALSE(folder_.Has("out/old-diff.va"));

    Replace(bin_ + "/vpatchl-w32.exe", "exit 0");
    folder_.Write(bin_ + "/outFile", "stale", readOnly);
    Pack("patch.va",
         {{"patchedFiles.txt", "dir/b\n149603e6c03516362a8da23f624db945\nx\n"}, {"dir/b", "diff"}});
    outcome = Apply("patch.va");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.problems, HasSubstr("cannot delete"));
    EXPECT_FALSE(folder_.Has("old-tmp.va"));
}

TEST_F(PatchPrograms, AFileOfAnotherLetterCaseIsNotTakenForTheOutput) {
    ASSERT_EQ(Diff().exitCode, 0);
    Replace(bin_ + "/vpatchl-w32.exe", "exit 0");
    folder_.Write(bin_ + "/OUTFILE", "other");
    const Outcome outcome = Apply();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_FALSE(folder_.Has("old-tmp.va"));
    EXPECT_EQ(folder_.Read(bin_ + "/OUTFILE"), "other");
}

TEST_F(PatchPrograms, RunsThatShareTheProgramFolderWaitForEachOther) {
    Pack("other.va", {{"a", "1"}, {"dir/b", "2"}});
    // Long enough for the other run to come in between.
    folder_.Write("real", folder_.Read(diff_));
    Replace(diff_, "sleep 0.3; chmod +x ./real; exec ./real \"$@\"");
    const auto reverse = std::async(std::launch::async, [this] {
        return Convert({"patchdiff", "other.va", "new.va", "out"}).exitCode;
    });
    EXPECT_EQ(Diff().exitCode, 0);
    reverse.wait();
    EXPECT_EQ(Apply().exitCode, 0);
    EXPECT_EQ(Convert({"patchapply", "other.va", "out/other-diff.va", "x"}).exitCode, 0);
    ExpectSameContent("old-tmp.va", "new.va");
    ExpectSameContent("other-tmp.va", "new.va");
}

}  // namespace
}  // namespace Vorn::Testing
