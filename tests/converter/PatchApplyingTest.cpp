#include "KernelStandard/FileSubArchive.h"
#include "tests/converter/Workbench.h"

namespace Vorn::Testing {
namespace {

// The programs stand in a folder with a blank in its name.
class PatchApplying : public Workbench {
protected:
    PatchApplying() : Workbench("my app") {}
};

TEST_F(PatchApplying, NewArchiveIsRebuiltBesideTheOldOne) {
    const Members after = {{"changed", std::string(6000, 'n')},
                           {"keep/same", "old"},
                           {"z/added", std::string(2000, 'a')},
                           {"a/added", "new"},
                           {"empty", ""},
                           {"short", "CFIL is how a stream begins"},
                           {"emptied", ""}};
    Pack("new.va", after);
    FileSubArchive::SetDefaultBuildVersion(0x01020304);
    FileSubArchive::SetDefaultProductCode(77);
    Pack("old.va", {{"keep/same", "old"},
                    {"changed", std::string(5000, 'o')},
                    {"gone", "old"},
                    {"empty", ""},
                    {"short", "old"},
                    {"emptied", "old"}});
    FileSubArchive::SetDefaultBuildVersion(0);
    FileSubArchive::SetDefaultProductCode(0);
    const Outcome diff = Diff();
    ASSERT_EQ(diff.exitCode, 0);
    EXPECT_EQ(diff.problems,
              "VAConverter: 2 members without content (the first is \"empty\") cannot be stored; "
              "patchapply will omit them from the new archive\n");
    const std::string before = folder_.Read("old.va") + folder_.Read("out/old-diff.va");
    const auto programs = Tree("my app");

    const Outcome outcome = Apply();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.problems;
    EXPECT_THAT(outcome.lines, ElementsAre("Unchanged keep/same", "Patched changed", "Removed gone",
                                           "Unchanged empty", "Patched short", "Patched emptied"));
    EXPECT_EQ(
        outcome.problems,
        "VAConverter: 2 members without content (the first is \"empty\") cannot be stored and "
        "are omitted from the new archive\n");
    Content expected(after.begin(), after.end());
    expected.erase("empty");  // empty members are not stored
    expected.erase("emptied");
    EXPECT_EQ(Unpack("old-tmp.va"), expected);
    const FileSubArchive rebuilt(folder_.Path("old-tmp.va").c_str(), false);
    EXPECT_EQ(rebuilt.Header().buildVersion, 0x01020304U);
    EXPECT_EQ(rebuilt.Header().productCode, 77U);
    EXPECT_EQ(folder_.Read("old.va") + folder_.Read("out/old-diff.va"), before);
    EXPECT_EQ(Tree("my app"), programs);

    const std::string first = folder_.Read("old-tmp.va");
    EXPECT_EQ(Apply().exitCode, 0);
    EXPECT_EQ(folder_.Read("old-tmp.va"), first);  // replaced, not added to

    // Another old archive is refused by its digests.
    const Outcome other = Convert({"patchapply", "old-tmp.va", "out/old-diff.va", "x"});
    EXPECT_EQ(other.exitCode, 1);
    ASSERT_FALSE(other.lines.empty());
    EXPECT_EQ(other.lines.back(), ">>>> MD5 ERROR changed");
    EXPECT_FALSE(folder_.Has("old-tmp-tmp.va"));
}

TEST_F(PatchApplying, ProgramNamedLikeTheBeginningOfTheFolderIsNotRun) {
    folder_.Write("my", "#!/bin/sh\ntouch ran\n", fs::perms::owner_all);
    PackPair({{"a", "old"}}, {{"a", "new"}});
    EXPECT_EQ(Diff().exitCode, 0);
    EXPECT_EQ(Apply().exitCode, 0);
    ExpectSameContent("old-tmp.va", "new.va");
    for (const std::string& program : {bin_ + "/vpatchl-w32.exe", diff_}) Replace(program, "");
    EXPECT_THAT(Apply().problems, HasSubstr("cannot start the patch program; expected at \""));
    Replace("out/old-diff.va", "");
    EXPECT_THAT(Diff().problems, HasSubstr("cannot start the diff program; expected at \""));
    EXPECT_FALSE(folder_.Has("ran"));
}

TEST_F(PatchApplying, OneMemberWithoutContentIsToldInTheSingular) {
    PackPair({{"same", "1"}, {"emptied", "2"}}, {{"same", "1"}, {"emptied", ""}});
    const std::string one = "VAConverter: 1 member without content (\"emptied\") cannot be stored";
    EXPECT_EQ(Diff().problems, one + "; patchapply will omit it from the new archive\n");
    EXPECT_EQ(Apply().problems, one + " and is omitted from the new archive\n");
}

TEST_F(PatchApplying, APatchThatAddsAMemberWithoutContentIsRefused) {
    PackPair({{"same", "1"}}, {{"same", "1"}, {"added", ""}});
    const Outcome diff = Diff();
    EXPECT_EQ(diff.exitCode, 0);
    EXPECT_THAT(diff.lines, ElementsAre("Identical same", "Added added"));
    EXPECT_THAT(diff.problems, HasSubstr("1 member without content (\"added\") cannot be stored; "
                                         "the patch adds one, so patchapply will refuse it"));
    const Outcome apply = Apply();
    EXPECT_EQ(apply.exitCode, 1);
    EXPECT_THAT(apply.lines, ElementsAre("Failed to add added"));
    EXPECT_THAT(apply.problems, HasSubstr("lists \"added\" as added and does not hold it"));
}

using HandWrittenPatch = Workbench;

TEST_F(HandWrittenPatch, ListsAreTakenAsTheyAre) {
    const std::string digest = "149603e6c03516362a8da23f624db945";  // "old"
    const Table<Members, int, Lines> rows = {
        {{{"deletedFiles.txt", "b\r\n" + digest + "\r\n"}}, 0, {"Unchanged a", "Unchanged b"}},
        {{{"patchedFiles.txt", "a\n" + digest + "\r\n" + digest + "\n"}, {"a", "diff"}},
         1,
         {">>>> MD5 ERROR a"}},
        {{{"addedFiles.txt", "c\n\n"}, {"c", "new"}}, 0, {"Unchanged a", "Unchanged b"}},
        {{{"addedFiles.txt", "c\nx\n"}}, 1, {"Failed to add c"}},
        {{{"deletedFiles.txt", "B\nx\nb\nx\nother\nx"}}, 0, {"Unchanged a", "Removed b"}},
        {{{"patchedFiles.txt", "a\n" + digest + "\n"}}, 0, {"Unchanged a", "Unchanged b"}},
        {{{"patchedFiles.txt", "b\nx\ny\n"}}, 1, {"Unchanged a", ">>>> OPEN ERROR b"}}};
    Pack("old.va", {{"a", "old"}, {"b", "old"}});
    for (const auto& [patch, exitCode, lines] : rows) {
        SCOPED_TRACE(testing::PrintToString(patch));
        for (const char* earlier : {"patch.va", "old-tmp.va"}) Replace(earlier, "");
        Pack("patch.va", patch);
        const Outcome outcome = Apply("patch.va");
        EXPECT_EQ(outcome.exitCode, exitCode) << outcome.problems;
        EXPECT_EQ(outcome.lines, lines);
        EXPECT_EQ(folder_.Has("old-tmp.va"), exitCode == 0);
        EXPECT_FALSE(folder_.Has("old-tmp.va.part"));
    }
}

TEST_F(HandWrittenPatch, WithoutListsChangesNothingAndUnreadableIsRefused) {
    Pack("old.va", {{"a", "old"}, {"b", "old"}});
    // A list keeps its size in the archive's index while its stream is cut short.
    std::string list = "a\nx\n";
    for (int i = 0; i < 400; ++i) list += "gone" + std::to_string(i) + "\nx\n";
    const Members lists = {
        {"addedFiles.txt", ""}, {"patchedFiles.txt", ""}, {"deletedFiles.txt", list}};
    Pack("cut.va", lists);
    std::string cut = folder_.Read("cut.va");
    ASSERT_NE(cut.find("CFIL"), std::string::npos);
    cut.replace(cut.find("CFIL") + 12, 4, "\xFF\xFF\xFF\x00", 4);
    folder_.Write("cut.va", cut);
    Pack("one.va", {{"deletedFiles.txt", ""}});
    folder_.Write("empty.va", "");
    folder_.Write("text.va", "this is not an archive");
    fs::create_directory(folder_.Path("folder.va"));
    const Table<const char*, int, const char*> rows = {
        {"one.va", 0, "has no list \"addedFiles.txt\""},
        {"empty.va", 0, "\"empty.va\" is not an archive"},
        {"text.va", 0, "\"text.va\" is not an archive"},
        {"folder.va", 1, "\"folder.va\" cannot be read"},
        {"cut.va", 1, "member \"deletedFiles.txt\": "}};
    for (const auto& [patch, exitCode, problem] : rows) {
        SCOPED_TRACE(patch);
        Replace("old-tmp.va", "");
        const Outcome outcome = Apply(patch);
        EXPECT_EQ(outcome.exitCode, exitCode);
        EXPECT_EQ(outcome.lines, exitCode == 0 ? Lines({"Unchanged a", "Unchanged b"}) : Lines());
        EXPECT_THAT(outcome.problems, HasSubstr(problem));
        EXPECT_EQ(folder_.Has("old-tmp.va"), exitCode == 0);
    }
}

}  // namespace
}  // namespace Vorn::Testing
