#include "tests/converter/Workbench.h"

namespace Vorn::Testing {
namespace {

constexpr const char* kOldDigest = "149603e6c03516362a8da23f624db945";    // "old"
constexpr const char* kNewDigest = "22af645d1859cb5ca6da0c484f1f37ea";    // "new"
constexpr const char* kEmptyDigest = "d41d8cd98f00b204e9800998ecf8427e";  // ""

std::string Text(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

using PatchMaking = Workbench;

TEST_F(PatchMaking, EveryKindOfChangeIsToldInTheOrderOfTheWalkAndListed) {
    const std::string large(3000, 'n');
    PackPair({{"gone.txt", "old"},
              {"models/deep/a.pm", "old"},
              {"same.txt", "old"},
              {"empty", ""},
              {"readme", "old"},
              {"Zgone", "old"},
              {"models/b.pm", "old"}},
             {{"models/new/large.pm", large},
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
    EXPECT_THAT(outcome.problems, HasSubstr("2 members without content"));
    EXPECT_THAT(Tree("out"), ElementsAre("old-diff.va"));  // the working folder is gone
    EXPECT_EQ(Tree("app"), programs);                      // and so are the working files

    Content patch = Unpack("out/old-diff.va");
    EXPECT_EQ(patch["addedFiles.txt"],
              Text({"added.txt", kNewDigest, "models/new/large.pm",
                    "052347c6007a62d384d0244c89d524b7", "nothing", kEmptyDigest}));
    EXPECT_EQ(patch["deletedFiles.txt"], Text({"Zgone", kOldDigest, "gone.txt", kOldDigest}));
    EXPECT_EQ(patch["patchedFiles.txt"],
              Text({"models/b.pm", kOldDigest, kNewDigest, "models/deep/a.pm", kOldDigest,
                    kNewDigest, "readme", kOldDigest, kNewDigest}));
    EXPECT_EQ(patch["added.txt"], "new");
    EXPECT_EQ(patch["models/new/large.pm"], large);
    for (const char* diffed : {"models/b.pm", "models/deep/a.pm", "readme"}) {
        EXPECT_FALSE(patch[diffed].empty()) << diffed;
    }
    EXPECT_EQ(patch.size(), 8U);  // an empty member is listed but not stored
    EXPECT_THAT(Apply().lines, ElementsAre("Failed to add nothing"));
}

TEST_F(PatchMaking, OnlyAChangedMemberNeedsWorkingFiles) {
    PackPair({{"same", Noise(5000, 1)}, {"gone", "old"}, {"z", "old"}},
             {{"same", Noise(5000, 1)}, {"added", "new"}, {"z", "old"}});
    for (const char* name : {"srcFile", "dstFile", "difFile", "outFile"}) {
        folder_.Write(bin_ + "/" + name + "/in-the-way", "");
    }
    Outcome outcome = Diff();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.problems;
    EXPECT_THAT(outcome.lines,
                ElementsAre("Identical same", "Removed gone", "Identical z", "Added added"));
    outcome = Apply();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.problems;
    ExpectSameContent("old-tmp.va", "new.va");

    PackPair({{"z", "old"}}, {{"z", "new"}});
    Replace("out/old-diff.va", "");
    outcome = Diff();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.problems, HasSubstr("cannot create"));
}

TEST_F(PatchMaking, LeftWorkingFilesAreDeletedThoughNoneIsNeeded) {
    PackPair({{"same", "old"}}, {{"same", "old"}});
    const auto programs = Tree("app");
    folder_.Write(bin_ + "/srcFile", "of a killed run");
    EXPECT_EQ(Diff().exitCode, 0);
    EXPECT_EQ(Tree("app"), programs);
}

TEST_F(PatchMaking, NamesThatDifferOnlyInLetterCaseAreOneMember) {
    PackPair({{"Textures/Wall.tga", "old"}, {"Sky.tga", "old"}},
             {{"textures/wall.TGA", "new"}, {"SKY.tga", "old"}});
    EXPECT_THAT(Diff().lines, ElementsAre("Diffed Textures/Wall.tga", "Identical Sky.tga"));
    EXPECT_EQ(Unpack("out/old-diff.va")["patchedFiles.txt"],
              Text({"Textures/Wall.tga", kOldDigest, kNewDigest}));
    EXPECT_EQ(Apply().exitCode, 0);
    EXPECT_EQ(Unpack("old-tmp.va"), (Content{{"Textures/Wall.tga", "new"}, {"Sky.tga", "old"}}));

    EXPECT_THAT(Convert({"patchdiff", "old-tmp.va", "new.va", "out"}).lines,
                ElementsAre("Identical Textures/Wall.tga", "Identical Sky.tga"));
    EXPECT_EQ(
        Unpack("out/old-tmp-diff.va"),
        (Content{{"addedFiles.txt", ""}, {"deletedFiles.txt", ""}, {"patchedFiles.txt", ""}}));
}

// One name of this system; a path elsewhere if '\\' is read as a separator.
TEST_F(PatchMaking, AFileWithABackslashInItsNameLeadsNowhere) {
    PackPair({{"a", "old"}}, {{"a", "new"}});
    folder_.Write("out/old/..\\victim.diff", "");
    folder_.Write("out/victim.diff", "precious");
    const auto before = Tree("out");
    EXPECT_EQ(Diff().exitCode, 1);
    EXPECT_EQ(Tree("out"), before);
    EXPECT_EQ(folder_.Read("out/victim.diff"), "precious");
}

TEST_F(PatchMaking, EmptyArchivesAndUnusableOutputsAreRefused) {
    for (const char* archive : {"old.va", "out/old/old-diff.va", "old-tmp.va"}) {
        Pack(archive, {{"a", "old"}});
    }
    // With "-tmp" in it, its name is too long for a file.
    const std::string longName = std::string(250, 'n') + ".va";
    fs::copy(folder_.Path("old.va"), folder_.Path(longName));
    Pack("none.va", {});
    const std::string before = folder_.Read("out/old/old-diff.va") + folder_.Read("old-tmp.va");
    const std::string empty = "Unable to open search path \"\"";
    const std::string usage = "// TODO.Alden: Print more usage";
    for (const auto& [arguments, line, problem] : Table<Arguments, std::string, const char*>{
             {{"patchdiff", "none.va", "old-tmp.va", "out"}, empty, ""},
             {{"patchapply", "none.va", "old.va", "x"}, empty, ""},
             {{"patchdiff", "old-tmp.va", "none.va", "out"}, empty, ""},
             {{"patchdiff", "old.va", "out/old/old-diff.va", "out"}, usage, "holds other files"},
             {{"patchapply", "old.va", "./old-tmp.va", "x"}, usage, "is one of the inputs"},
             {{"patchapply", longName, "old.va", "x"}, usage, "cannot create \"nnn"}}) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const Outcome outcome = Convert(arguments);
        EXPECT_EQ(outcome.exitCode, 1);
        ASSERT_FALSE(outcome.lines.empty());
        EXPECT_EQ(outcome.lines.back(), line);
        EXPECT_THAT(outcome.problems, HasSubstr(problem));
    }
    EXPECT_FALSE(folder_.Has("none-tmp.va"));
    EXPECT_EQ(folder_.Read("out/old/old-diff.va") + folder_.Read("old-tmp.va"), before);
}

// A patch stores its lists beside the members.
TEST_F(PatchMaking, MemberThatWouldBeLostBehindAListIsRefused) {
    for (const auto& [before, after, exitCode] : Table<Members, Members, int>{
             {{{"a", "old"}}, {{"a", "old"}, {"AddedFiles.txt", "new"}}, 1},
             {{{"patchedFiles.txt", "old"}}, {{"patchedFiles.txt", "new"}}, 1},
             {{{"a", "old"}, {"deletedFiles.txt", "old"}}, {{"a", "old"}}, 0},
             {{{"deletedFiles.txt", "old"}, {"a", "old"}},
              {{"a", "new"}, {"deletedfiles.txt", "old"}},
              0}}) {
        SCOPED_TRACE(testing::PrintToString(after));
        for (const char* earlier : {"old.va", "new.va", "out/old-diff.va"}) Replace(earlier, "");
        PackPair(before, after);
        EXPECT_EQ(Diff().exitCode, exitCode);
        if (exitCode != 0) continue;
        EXPECT_EQ(Apply().exitCode, 0);
        EXPECT_EQ(Unpack("old-tmp.va").size(), after.size());
    }
}

}  // namespace
}  // namespace Vorn::Testing
