#include <fstream>

#include "KernelStandard/FileSubArchive.h"
#include "tests/converter/Workbench.h"

namespace Vorn::Testing {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// The programs stand in a folder with a blank in its name.
class PatchApplying : public Workbench {
protected:
    PatchApplying() : Workbench("my app") {}

    void SetUp() override {
        Pack("old.va", old_);
        Pack("new.va", new_);
        ASSERT_EQ(Diff().exitCode, 0);
    }

    const Members old_ = {{"keep/same", "old"}, {"changed", std::string(5000, 'o')},
                          {"gone", "old"},      {"empty", ""},
                          {"short", "old"},     {"emptied", "old"}};
    const Members new_ = {{"changed", std::string(6000, 'n')},
                          {"keep/same", "old"},
                          {"z/added", std::string(2000, 'a')},
                          {"a/added", "new"},
                          {"empty", ""},
                          {"short", "CFIL is how a stream begins"},
                          {"emptied", ""}};
};

TEST_F(PatchApplying, NewArchiveIsRebuiltBesideTheOldOne) {
    const std::string before = folder_.Read("old.va") + folder_.Read("out/old-diff.va");
    const auto programs = Tree("my app");
    const Outcome outcome = Apply();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.problems;
    EXPECT_THAT(outcome.lines, ElementsAre("Unchanged keep/same", "Patched changed", "Removed gone",
                                           "Unchanged empty", "Patched short", "Patched emptied"));
    EXPECT_THAT(outcome.problems, IsEmpty());
    Content expected(new_.begin(), new_.end());
    expected.erase("empty");  // empty members are not stored
    expected.erase("emptied");
    EXPECT_EQ(Unpack("old-tmp.va"), expected);
    EXPECT_EQ(folder_.Read("old.va") + folder_.Read("out/old-diff.va"), before);
    EXPECT_EQ(Tree("my app"), programs);

    const std::string first = folder_.Read("old-tmp.va");
    EXPECT_EQ(Apply().exitCode, 0);
    EXPECT_EQ(folder_.Read("old-tmp.va"), first);  // replaced, not added to
}

TEST_F(PatchApplying, AnotherOldArchiveIsRefusedByItsDigests) {
    const std::string patch = folder_.Read("out/old-diff.va");
    EXPECT_EQ(Apply().exitCode, 0);
    const Outcome outcome = Convert({"patchapply", "old-tmp.va", "out/old-diff.va", "x"});
    EXPECT_EQ(outcome.exitCode, 1);
    ASSERT_FALSE(outcome.lines.empty());
    EXPECT_EQ(outcome.lines.back(), ">>>> MD5 ERROR changed");
    EXPECT_FALSE(folder_.Has("old-tmp-tmp.va"));
}

TEST_F(PatchApplying, AddedEmptyMemberCannotBeAdded) {
    Pack("newer.va", {{"none", ""}});
    EXPECT_EQ(Convert({"patchdiff", "old.va", "newer.va", "more"}).exitCode, 0);
    const Outcome outcome = Apply("more/old-diff.va");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.lines, ElementsAre("Failed to add none"));
}

TEST_F(PatchApplying, NewArchiveCarriesTheOldOnesVersionAndProduct) {
    FileSubArchive::SetDefaultBuildVersion(0x01020304);
    FileSubArchive::SetDefaultProductCode(77);
    Pack("marked/old.va", old_);
    EXPECT_EQ(Convert({"patchapply", "marked/old.va", "out/old-diff.va", "x"}).exitCode, 0);
    const FileSubArchive rebuilt(folder_.Path("marked/old-tmp.va").c_str(), false);
    EXPECT_EQ(rebuilt.Header().buildVersion, 0x01020304U);
    EXPECT_EQ(rebuilt.Header().productCode, 77U);
}

class HandWrittenPatch : public Workbench {};

TEST_F(HandWrittenPatch, ListsAreTakenAsTheyAre) {
    constexpr const char* kOldDigest = "149603e6c03516362a8da23f624db945";
    const std::string digest = kOldDigest;
    const struct {
        Members patch;
        int exitCode;
        std::vector<std::string> lines;
    } rows[] = {
        {{{"deletedFiles.txt", "b\r\n" + digest + "\r\n"}}, 0, {"Unchanged a", "Unchanged b"}},
        {{{"patchedFiles.txt", "a\n" + digest + "\r\n" + digest + "\n"}, {"a", "diff"}},
         1,
         {">>>> MD5 ERROR a"}},
        {{{"addedFiles.txt", "c\n\n"}, {"c", "new"}}, 0, {"Unchanged a", "Unchanged b"}},
        {{{"addedFiles.txt", "c\nx\n"}}, 1, {"Failed to add c"}},
        {{{"deletedFiles.txt", "B\nx\nb\nx\nother\nx"}}, 0, {"Unchanged a", "Removed b"}},
        {{{"patchedFiles.txt", "a\n" + digest + "\n"}}, 0, {"Unchanged a", "Unchanged b"}},
        {{{"patchedFiles.txt", "b\nx\ny\n"}}, 1, {"Unchanged a", ">>>> OPEN ERROR b"}},
    };
    int number = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(number);
        const std::string name = std::to_string(number++);
        Pack(name + ".va", {{"a", "old"}, {"b", "old"}});
        Pack(name + "-patch.va", row.patch);
        const Outcome outcome = Convert({"patchapply", name + ".va", name + "-patch.va", "x"});
        EXPECT_EQ(outcome.exitCode, row.exitCode) << outcome.problems;
        EXPECT_EQ(outcome.lines, row.lines);
        // A failed addition leaves the new archive behind.
        EXPECT_EQ(folder_.Has(name + "-tmp.va"), row.exitCode == 0 || number == 4);
    }
}

TEST_F(HandWrittenPatch, MissingListIsToldAndMissingPatchRefused) {
    Pack("old.va", {{"a", "old"}});
    Pack("patch.va", {{"deletedFiles.txt", ""}});
    Outcome outcome = Apply("patch.va");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.lines, ElementsAre("Unchanged a"));
    EXPECT_THAT(outcome.problems, HasSubstr("has no list \"addedFiles.txt\""));

    for (const char* content : {"", "x", "this is not an archive"}) {
        folder_.Write("patch.va", content);
        outcome = Apply("patch.va");
        EXPECT_EQ(outcome.exitCode, 1) << content;
        EXPECT_THAT(outcome.lines, IsEmpty());
        EXPECT_THAT(outcome.problems, HasSubstr("\"patch.va\" cannot be read as an archive"));
        EXPECT_FALSE(folder_.Has("old-tmp.va"));
    }
}

// The member keeps its size in the archive's index while its stream is cut short.
TEST_F(HandWrittenPatch, ListThatCannotBeReadWholeEndsTheRun) {
    Pack("old.va", {{"a", "old"}, {"b", "old"}});
    std::string list = "a\nx\n";
    for (int i = 0; i < 400; ++i) list += "gone" + std::to_string(i) + "\nx\n";
    Pack("patch.va", {{
                          "addedFiles.txt",
                          "",
                      },
                      {"patchedFiles.txt", ""},
                      {"deletedFiles.txt", list}});
    std::string bytes = folder_.Read("patch.va");
    const std::size_t stream = bytes.find("CFIL");
    ASSERT_NE(stream, std::string::npos);
    bytes.replace(stream + 12, 4, "\xFF\xFF\xFF\x00", 4);
    folder_.Write("patch.va", bytes);
    const Outcome outcome = Apply("patch.va");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.problems, HasSubstr("cannot read all of \"deletedFiles.txt\""));
    EXPECT_FALSE(folder_.Has("old-tmp.va"));
}

}  // namespace
}  // namespace Vorn::Testing
