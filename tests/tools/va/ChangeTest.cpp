#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

class VaChange : public VaProgram {
protected:
    void SetUp() override {
        folder_.Write("in/config.txt", "name Town\n");
        folder_.Write("in/textures/wall.tga", Prose(20000));
        folder_.Write("in/textures/old/road.tga", Noise(3000));
        ASSERT_EQ(Va("create Town.va in").exitCode, 0);
    }
};

TEST_F(VaChange, AddsAndReplaces) {
    folder_.Write("more/Config.TXT", "name City\n");
    folder_.Write("more/sign.txt", "sign");
    ExpectAnswers({
        {"add -n Town.va more", 0,
         "replaced Config.TXT\nadded sign.txt\nwould change Town.va: 1 added, 1 replaced\n"},
        {"cat Town.va:config.txt", 0, "name Town\n"},
        {"add -v Town.va more", 0,
         "replaced Config.TXT\nadded sign.txt\nTown.va: 1 added, 1 replaced; 4 members, "},
        {"test Town.va", 0, "whole, 4 members"},
        {"cat Town.va:config.txt", 0, "name City\n"},
        {"add Town.va more/sign.txt --under=signs", 0, "1 added; 5 members, "},
        {"add Town.va more/sign.txt --as=signs/two.txt", 0,
         "of them dead; 'va repack' frees those\n"},
        {"add --json Town.va more/sign.txt --as=three.txt", 0,
         "{\"type\":\"added\",\"name\":\"three.txt\",\"size\":4}\n"},
        {"list Town.va signs", 0, "signs/sign.txt\nsigns/two.txt\n"},
        {"add Nowhere.va more", 9, "Nowhere.va: there is no such archive; 'va create' makes one"},
        {"add more more", 2, "more: "},
        {"add Town.va nowhere", 9, "nowhere: there is no such file"},
        {"add Town.va more --as=x", 7, "--as names one file"},
        {"add Town.va -", 7, "standard input has no name; give one with --as=NAME"},
        {"add Town.va more --sync --exclude=x", 7, "--sync deletes what --exclude leaves out"},
        {"add Town.va more --compress=best", 7, "takes one of"},
    });
    EXPECT_EQ(Va("add Town.va - --as=piped.txt", "printf piped |").exitCode, 0);
    EXPECT_EQ(Va("cat Town.va:piped.txt").out, "piped");
    EXPECT_EQ(Shell("cd " + folder_.Path() + " && chmod a-w Town.va"), 0);
    ExpectAnswers({{"add Town.va more", 2, "Town.va: it cannot be opened for writing: "}});
}

TEST_F(VaChange, UpdateComparesContentsAndSyncMirrors) {
    ASSERT_EQ(
        Shell("cd " + folder_.Path() +
              "/in && touch config.txt && printf 'name Tomb\\n' >config.txt && "
              "touch -r textures/wall.tga config.txt && rm -r textures/old && printf s >sign.txt"),
        0);
    ExpectAnswers({
        {"add -n --sync Town.va in", 0,
         "deleted textures/old/road.tga\nreplaced config.txt\nadded sign.txt\nwould change "
         "Town.va: "
         "1 added, 1 replaced, 1 deleted, 1 same\n"},
        {"add -u -v Town.va in", 0,
         "replaced config.txt\nadded sign.txt\nTown.va: 1 added, 1 replaced, 1 same; 4 members"},
        {"add -u Town.va in", 0, "Town.va: 3 same; 4 members"},
        {"add --sync -v Town.va in", 0,
         "deleted textures/old/road.tga\nTown.va: 1 deleted, 3 same; 3 members"},
        {"compare Town.va in", 0, "3 same"},
        {"add --sync --under=textures -v Town.va in/textures", 0, "Town.va: 1 same; 3 members"},
        {"add --sync --under=text -v Town.va in/textures", 0, "added text/wall.tga"},
        {"delete Town.va text", 0, "1 deleted"},
        {"test Town.va", 0, "whole, 3 members"},
    });
    const std::string before = folder_.Read("Town.va");
    ExpectAnswers({{"add --sync Town.va in", 0, "*"}});
    EXPECT_TRUE(folder_.Read("Town.va") == before) << "nothing to do, nothing written";
}

TEST_F(VaChange, DeletesAndRenames) {
    ExpectAnswers({
        {"delete -n Town.va textures", 0,
         "deleted textures/old/road.tga\ndeleted textures/wall.tga\nwould change Town.va: 2 "
         "deleted\n"},
        {"delete Town.va '*.bak' config.txt", 9, "nothing in 'Town.va' matches '*.bak'"},
        {"delete Town.va", 7, "PATTERN is missing"},
        {"delete in config.txt", 2, "'in' is a folder, not an archive"},
        {"rename -v Town.va textures/old attic/", 0,
         "renamed textures/old/road.tga to attic/old/road.tga\n"},
        {"rename -v Town.va Textures images", 0, "renamed textures/wall.tga to images/wall.tga\n"},
        {"rename Town.va config.txt IMAGES/Wall.tga", 2,
         "names that are taken; delete or rename those members first: IMAGES/Wall.tga"},
        {"rename Town.va config.txt Config.txt", 0, "1 renamed; 3 members"},
        {"rename Town.va Config.txt Config.txt", 0, "Town.va: nothing to do; 3 members"},
        {"rename Town.va config.txt '\xD0\xB6'", 2, "has a name that code page 1252 cannot hold"},
        {"rename Town.va nowhere x", 9, "there is no member or folder 'nowhere'; run 'va list'"},
        {"list Town.va", 0, "Config.txt\nattic/old/road.tga\nimages/wall.tga\n"},
        {"test Town.va", 0, "whole, 3 members"},
        {"delete --json Town.va images", 0,
         "{\"type\":\"deleted\",\"name\":\"images/wall.tga\",\"size\":20000}\n"},
        {"delete Town.va '**'", 0, "2 deleted; 0 members"},
        {"test Town.va", 0, "whole, 0 members"},
    });
}

// A dry run ends as the real one would.
TEST_F(VaChange, DryRunsFindOutThatTheArchiveCannotBeWritten) {
    const bool isRoot = Shell("test $(id -u) = 0") == 0;
    const std::string anyone = isRoot ? "setpriv --reuid=65534 --clear-groups" : "";
    folder_.Write("sign.txt", "sign");
    ASSERT_EQ(Shell("cd " + folder_.Path() + " && chmod 755 . && chmod 444 Town.va sign.txt"), 0);
    if (Shell("cd " + folder_.Path() + " && " + anyone + " " VA " list Town.va >/dev/null 2>&1") !=
        0) {
        GTEST_SKIP() << "needs another user";
    }
    for (const std::string words :
         {"add -n Town.va sign.txt", "add Town.va sign.txt", "delete -n Town.va config.txt",
          "delete Town.va config.txt", "rename -n Town.va config.txt x",
          "rename Town.va config.txt x", "repack -n Town.va", "repack Town.va"}) {
        EXPECT_EQ(Shell("cd " + folder_.Path() + " && " + anyone + " " VA " " + words + " 2>said"),
                  2)
            << words;
        EXPECT_THAT(folder_.Read("said"), HasSubstr("Town.va: it cannot be opened for writing"))
            << words;
    }
}

TEST_F(VaChange, TheFixedProgramsGoOnFromHere) {
    ASSERT_EQ(Shell("cd " + folder_.Path() + " && cp Town.va Old.va"), 0);
    folder_.Write("more/sign.txt", "sign");
    ExpectAnswers(
        {{"add Town.va more", 0, "*"}, {"rename Town.va config.txt settings.txt", 0, "*"}});
    ASSERT_EQ(Shell("cd " + folder_.Path() +
                    " && " VACONVERTER " patchdiff Old.va Town.va . >said && grep -q '^Added: "
                    "sign.txt\\|Added.*sign.txt' said && " VACONVERTER
                    " patchapply Old.va Old-diff.va - >/dev/null"),
              0);
    ExpectAnswers({{"compare Old-tmp.va Town.va", 0, "4 same"}});
}

}  // namespace
}  // namespace Vorn::Testing
