#include "KernelStandard/FileSubArchive.h"
#include "tests/converter/Workbench.h"

namespace Vorn::Testing {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

constexpr const char* kOldDigest = "149603e6c03516362a8da23f624db945";    // "old"
constexpr const char* kNewDigest = "22af645d1859cb5ca6da0c484f1f37ea";    // "new"
constexpr const char* kEmptyDigest = "d41d8cd98f00b204e9800998ecf8427e";  // ""

std::string Lines(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

class PatchMaking : public Workbench {};

TEST_F(PatchMaking, EveryKindOfChangeIsToldInTheOrderOfTheWalkAndListed) {
    const std::string large(3000, 'n');
    Pack("old.va", {{"gone.txt", "old"},
                    {"models/deep/a.pm", "old"},
                    {"same.txt", "old"},
                    {"empty", ""},
                    {"readme", "old"},
                    {"Zgone", "old"},
                    {"models/b.pm", "old"}});
    Pack("new.va", {{"models/new/large.pm", large},
                    {"added.txt", "new"},
                    {"models/b.pm", "new"},
                    {"readme", "new"},
                    {"same.txt", "old"},
                    {"models/deep/a.pm", "new"},
                    {"nothing", ""},
                    {"empty", ""}});
    const auto programs = Tree("app");

    const Outcome outcome = Diff();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.problems;
    EXPECT_THAT(
        outcome.lines,
        ElementsAre("Removed gone.txt", "Diffed models/deep/a.pm", "Diffed models/b.pm",
                    "Identical same.txt", "Identical empty", "Diffed readme", "Removed Zgone",
                    "Added models/new/large.pm", "Added added.txt", "Added nothing"));
    EXPECT_THAT(outcome.problems, IsEmpty());
    EXPECT_THAT(Tree("out"), ElementsAre("old-diff.va"));  // the working folder is gone
    EXPECT_EQ(Tree("app"), programs);                      // and so are the working files

    Content patch = Unpack("out/old-diff.va");
    EXPECT_EQ(patch["addedFiles.txt"],
              Lines({"added.txt", kNewDigest, "models/new/large.pm",
                     "052347c6007a62d384d0244c89d524b7", "nothing", kEmptyDigest}));
    EXPECT_EQ(patch["deletedFiles.txt"], Lines({"Zgone", kOldDigest, "gone.txt", kOldDigest}));
    EXPECT_EQ(patch["patchedFiles.txt"],
              Lines({"models/b.pm", kOldDigest, kNewDigest, "models/deep/a.pm", kOldDigest,
                     kNewDigest, "readme", kOldDigest, kNewDigest}));
    EXPECT_EQ(patch["added.txt"], "new");
    EXPECT_EQ(patch["models/new/large.pm"], large);
    for (const char* diffed : {"models/b.pm", "models/deep/a.pm", "readme"}) {
        EXPECT_FALSE(patch[diffed].empty()) << diffed;
    }
    EXPECT_EQ(patch.size(), 8U);  // an empty member is listed but not stored
}

TEST_F(PatchMaking, EqualArchivesGiveThreeEmptyLists) {
    Pack("old.va", {{"a", "old"}, {"b/c", "old"}});
    Pack("new.va", {{"b/c", "old"}, {"a", "old"}});
    const Outcome outcome = Diff();
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.lines, ElementsAre("Identical a", "Identical b/c"));
    EXPECT_THAT(Unpack("out/old-diff.va"),
                UnorderedElementsAre(Pair("addedFiles.txt", ""), Pair("deletedFiles.txt", ""),
                                     Pair("patchedFiles.txt", "")));
}

TEST_F(PatchMaking, NamesThatDifferOnlyInLetterCaseAreOneMember) {
    Pack("old.va", {{"Textures/Wall.tga", "old"}, {"Sky.tga", "old"}});
    Pack("new.va", {{"textures/wall.TGA", "new"}, {"SKY.tga", "old"}});
    EXPECT_THAT(Diff().lines, ElementsAre("Diffed Textures/Wall.tga", "Identical Sky.tga"));
    EXPECT_EQ(Unpack("out/old-diff.va")["patchedFiles.txt"],
              Lines({"Textures/Wall.tga", kOldDigest, kNewDigest}));
    EXPECT_EQ(Apply().exitCode, 0);
    EXPECT_EQ(Unpack("old-tmp.va"), (Content{{"Textures/Wall.tga", "new"}, {"Sky.tga", "old"}}));
}

TEST_F(PatchMaking, EmptyArchiveCannotBeWalked) {
    Pack("some.va", {{"a", "old"}});
    Pack("none.va", {});
    const std::vector<std::string> commands[] = {{"patchdiff", "none.va", "some.va", "out"},
                                                 {"patchdiff", "some.va", "none.va", "out"},
                                                 {"patchapply", "none.va", "some.va", "x"}};
    for (const auto& command : commands) {
        const Outcome outcome = Convert(command);
        EXPECT_EQ(outcome.exitCode, 1);
        ASSERT_FALSE(outcome.lines.empty());
        EXPECT_EQ(outcome.lines.back(), "Unable to open search path \"\"");
    }
    EXPECT_FALSE(folder_.Has("none-tmp.va"));
}

TEST_F(PatchMaking, NameThatIsTakenIsLeftAloneAndThePatchKept) {
    Pack("old.va", {{"a", "old"}});
    Pack("new.va", {{"a", "new"}});
    folder_.Write("out/old-diff.va", "precious");
    const Outcome outcome = Diff();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.lines, ElementsAre("Diffed a"));
    EXPECT_THAT(outcome.problems, HasSubstr("kept as \"out/old/old-diff.va\""));
    EXPECT_EQ(folder_.Read("out/old-diff.va"), "precious");
    EXPECT_EQ(Apply("out/old/old-diff.va").exitCode, 0);
    EXPECT_EQ(Unpack("old-tmp.va"), Unpack("new.va"));
}

TEST_F(PatchMaking, WorkingFolderIsUsedOnlyWhenAllInItIsLeftOver) {
    Pack("old.va", {{"a", "old"}});
    Pack("new.va", {{"a", "new"}});
    folder_.Write("out/old/models/thesis.txt", "precious");
    folder_.Write("out/old/old-diff.va", "unfinished");
    folder_.Write("out/old/models/a.diff", "left over");
    const auto before = Tree("out");
    Outcome outcome = Diff();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.problems, HasSubstr("\"out/old\" holds other files"));
    EXPECT_EQ(Tree("out"), before);

    Replace("out/old/models/thesis.txt", "");
    outcome = Diff();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.problems;
    EXPECT_THAT(Tree("out"), ElementsAre("old-diff.va"));
}

TEST_F(PatchMaking, OutputThatIsAnInputIsRefused) {
    Pack("old.va", {{"a", "old"}});
    Pack("out/old/old-diff.va", {{"a", "new"}});
    Pack("old-tmp.va", {{"a", "new"}});
    const std::string inFolder = folder_.Read("out/old/old-diff.va");
    const std::string besides = folder_.Read("old-tmp.va");
    const std::vector<std::string> commands[] = {
        {"patchdiff", "old.va", "out/old/old-diff.va", "out"},
        {"patchapply", "old.va", "./old-tmp.va", "x"}};
    for (const auto& command : commands) {
        const Outcome outcome = Convert(command);
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_THAT(outcome.problems, HasSubstr("is one of the inputs"));
    }
    EXPECT_EQ(folder_.Read("out/old/old-diff.va"), inFolder);
    EXPECT_EQ(folder_.Read("old-tmp.va"), besides);
}

// A patch stores its lists beside the members.
TEST_F(PatchMaking, MemberThatWouldBeLostBehindAListIsRefused) {
    const struct {
        Members before;
        Members after;
        int exitCode;
    } rows[] = {
        {{{"a", "old"}}, {{"a", "old"}, {"AddedFiles.txt", "new"}}, 1},
        {{{"patchedFiles.txt", "old"}}, {{"patchedFiles.txt", "new"}}, 1},
        {{{"a", "old"}, {"deletedFiles.txt", "old"}}, {{"a", "old"}}, 0},
        {{{"deletedFiles.txt", "old"}, {"a", "old"}},
         {{"a", "new"}, {"deletedfiles.txt", "old"}},
         0},
    };
    int number = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(number);
        const std::string name = std::to_string(number++);
        Pack(name + ".va", row.before);
        Pack(name + "new.va", row.after);
        EXPECT_EQ(Convert({"patchdiff", name + ".va", name + "new.va", "."}).exitCode,
                  row.exitCode);
        if (row.exitCode != 0) continue;
        EXPECT_EQ(Convert({"patchapply", name + ".va", name + "-diff.va", "x"}).exitCode, 0);
        EXPECT_EQ(Unpack(name + "-tmp.va").size(), row.after.size());
    }
}

}  // namespace
}  // namespace Vorn::Testing
