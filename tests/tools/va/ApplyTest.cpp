// va apply and va verify: patches of the fixed converter, and those of va diff.
#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

class VaApplies : public VaProgram {
protected:
    // Members of all kinds, "old.va", "new.va", and their patch "p.va".
    void SetUp() override {
        const std::string scene = Prose(60000);
        const std::string picture = Noise(40000);
        folder_.Write("old/config.txt", "name Town\n");
        folder_.Write("old/scenes/a.txt", scene);
        folder_.Write("old/scenes/b.txt", scene + "same");
        folder_.Write("old/wall.tga", picture);
        folder_.Write("old/gone.txt", Prose(3000));
        folder_.Write("new/config.txt", "name Town 2\n");
        folder_.Write("new/scenes/a.txt", scene.substr(0, 30000) + "between" + scene.substr(30000));
        folder_.Write("new/scenes/b.txt", scene + "same");
        folder_.Write("new/wall.tga", picture);
        folder_.Write("new/added/door.tga", Noise(9000, 2));
        folder_.Write("new/added/sign.txt", "small");
        for (const char* side : {"old", "new"}) PackFolder(side);
        ASSERT_EQ(InShell(VACONVERTER " patchdiff old.va new.va out"), 0);
        fs::rename(folder_.Path("out/old-diff.va"), folder_.Path("p.va"));
    }

    void PackFolder(const std::string& folder) const {
        ASSERT_EQ(
            InShell("cd " + folder + " && " VARCHIVE " -r -P -k -c a ../" + folder + ".va './*'"),
            0);
    }
    [[nodiscard]] int InShell(const std::string& command) const {
        return Shell("cd " + folder_.Path() + " && " + command + " >/dev/null 2>&1");
    }
    [[nodiscard]] bool SameContent(const std::string& a, const std::string& b) const {
        return Va("compare " + a + " " + b).exitCode == 0;
    }
    // Changes one byte in the data of the file that holds `text`.
    void Damage(const std::string& file, const std::string& text) const {
        std::string bytes = folder_.Read(file);
        const std::size_t at = bytes.find(text);
        ASSERT_NE(at, std::string::npos);
        bytes[at] ^= 0x20;
        folder_.Write(file, bytes);
    }
};

TEST_F(VaApplies, GivesWhatTheConverterGives) {
    const Outcome run = Va("apply old.va p.va");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, testing::MatchesRegex("old-new.va   [0-9.]+ kB   2 same  2 changed  "
                                               "2 added  1 removed     [0-9.]+ s\n"));
    EXPECT_TRUE(SameContent("old-new.va", "new.va"));
    ASSERT_EQ(InShell(VACONVERTER " patchapply old.va p.va x"), 0);
    EXPECT_TRUE(folder_.Read("old-new.va") == folder_.Read("old-tmp.va"));

    // In either order, with any number of threads, into a folder.
    fs::create_directory(folder_.Path("dir"));
    EXPECT_EQ(Va("apply -j1 -q p.va old.va -o dir").err, "");
    EXPECT_TRUE(folder_.Read("dir/old-new.va") == folder_.Read("old-tmp.va"));
    EXPECT_EQ(Va("apply -j5 old.va p.va -o five.va").exitCode, 0);
    EXPECT_TRUE(folder_.Read("five.va") == folder_.Read("old-tmp.va"));
    EXPECT_EQ(Va("apply --memory-limit=80M old.va p.va -o tight.va").exitCode, 0);
    EXPECT_TRUE(folder_.Read("tight.va") == folder_.Read("old-tmp.va"));
    ExpectAnswers({{"apply --memory-limit=100K old.va p.va -o none.va", 8,
                    "bytes of memory; raise --memory-limit"}});
    EXPECT_EQ(Va("apply --trust old.va p.va -o trusted.va").exitCode, 0);
    EXPECT_TRUE(folder_.Read("trusted.va") == folder_.Read("old-tmp.va"));
}

TEST_F(VaApplies, TakesAFolderForTheOldSide) {
    ExpectAnswers({{"apply old p.va", 7, "old is a folder; name the archive to write with -o"},
                   {"apply old p.va -o made.va", 0, "made.va"}});
    EXPECT_TRUE(SameContent("made.va", "new.va"));
}

TEST_F(VaApplies, MembersWithoutContentStay) {
    folder_.Write("old/empty", "");
    folder_.Write("new/empty", "");
    folder_.Write("new/new-empty", "");
    folder_.Write("new/config.txt", "");
    for (const char* side : {"old", "new"}) {
        fs::remove(folder_.Path(side + ".va"s));
        PackFolder(side);
    }
    ASSERT_EQ(InShell(VACONVERTER " patchdiff old.va new.va out"), 0);
    EXPECT_EQ(Va("apply old.va out/old-diff.va").exitCode, 0);
    EXPECT_TRUE(SameContent("old-new.va", "new.va"));
}

TEST_F(VaApplies, ReplacesOnlyWhenAskedAndNeverAnInput) {
    const std::string old = folder_.Read("old.va");
    folder_.Write("taken.va", "what was there", fs::perms{0600});
    folder_.Write("locked.va", "what was there", fs::perms{0444});
    folder_.Write("folder/file.txt", "no patch");
    ExpectAnswers({
        {"apply old.va p.va -o taken.va", 2, "taken.va exists; -f replaces it"},
        {"apply -f old.va p.va -o old.va", 2, "old.va is one of the inputs"},
        {"apply -f old.va p.va -o ./p.va", 2, "p.va is one of the inputs"},
        {"apply old p.va -o old/new.va", 2, "old/new.va lies below the input folder old "},
        {"apply -f old.va p.va -o locked.va", 2, "locked.va is read-only and stays as it is"},
        {"apply old.va p.va -o -", 7, "cannot be written to standard output; name a file"},
        {"apply old.va p.va -o nowhere/new.va", 9, "nowhere: there is no such folder"},
        {"apply old.va nowhere.va", 9, "nowhere.va: there is no such file"},
        {"apply nowhere.va p.va", 9, "nowhere.va: there is no such file"},
        {"apply old.va", 7, "PATCH"},
        {"apply old.va folder/", 2, "va: folder/ is a folder, not a patch"},
        {"verify old.va folder", 2, "va: folder is a folder, not a patch"},
        {"verify nowhere.va folder", 9, "va: nowhere.va: there is no such file"},
        {"report folder", 2, "va: folder is a folder, not a patch"},
    });
    EXPECT_EQ(folder_.Read("taken.va"), "what was there");
    const std::string names = Names();
    for (const char* option : {"-n", "--check"}) {
        EXPECT_EQ(Va("apply "s + option + " old.va p.va").exitCode, 0);
        EXPECT_EQ(Names(), names);
    }
    EXPECT_EQ(Va("apply -f old.va p.va -o taken.va").exitCode, 0);
    EXPECT_TRUE(SameContent("taken.va", "new.va"));
    EXPECT_EQ(fs::status(folder_.Path("taken.va")).permissions(), fs::perms{0600});
    EXPECT_TRUE(folder_.Read("old.va") == old);
}

TEST_F(VaApplies, DamagedPatchIsRefused) {
    const std::string patch = folder_.Read("p.va");
    const std::string size = std::to_string(patch.size() / 1000) + "," +
                             std::to_string(1000 + patch.size() % 1000).substr(1);
    folder_.Write("cut.va", patch.substr(0, 5500));
    folder_.Write("stub.va", patch.substr(0, 20));
    folder_.Write("flip.va", patch);
    Damage("flip.va", "small");
    folder_.Write("list.va", patch);
    Damage("list.va", "scenes/a.txt\n");
    ExpectAnswers({
        {"apply old.va cut.va", 2,
         "cut.va: damaged or cut off (5,500 of " + size + " bytes); download it again"},
        {"apply old.va stub.va", 2, "stub.va: is not a patch, or is damaged; download it again"},
        {"apply old.va flip.va", 2, "flip.va: damaged: added/sign.txt: its content disagrees"},
        {"apply old.va list.va", 2, "list.va: damaged: patchedFiles.txt: its content disagrees"},
        {"apply old.va new.va", 2, "new.va: is an archive and not a patch"},
        {"verify old.va cut.va", 2, "cut.va: damaged or cut off"},
    });
    EXPECT_FALSE(folder_.Has("old-new.va"));
}

TEST_F(VaApplies, OldSideIsJudgedFirst) {
    folder_.Write("old/config.txt", "name City\n");
    fs::rename(folder_.Path("old"), folder_.Path("edited"));
    PackFolder("edited");
    folder_.Write("other/readme", "something else");
    PackFolder("other");
    folder_.Write("hurt.va", folder_.Read("old.va"));
    Damage("hurt.va", "name Town\n");
    ExpectAnswers({
        {"apply edited.va p.va", 2,
         "edited.va is not the archive that this patch is for; changed on this machine: "
         "config.txt; run 'va compare"},
        {"apply other.va p.va", 2, "other.va is not the archive that this patch is for: another"},
        {"apply hurt.va p.va", 2,
         "hurt.va: damaged: config.txt: its content disagrees with its check sum"},
        {"verify edited.va p.va", 1, "changed on this machine: config.txt"},
        {"verify hurt.va p.va", 2, "damaged: config.txt"},
        {"verify old.va p.va", 0, "old.va: the old side\n"},
        {"verify p.va new.va", 0, "new.va: the new side\n"},
        {"verify edited p.va", 1, "edited is not"},
        {"apply new.va p.va", 0, "new.va: already applied\n"},
        {"apply new.va p.va -o copy.va", 0, "new.va was the new side already, and was copied"},
    });
    EXPECT_TRUE(SameContent("copy.va", "new.va"));
    EXPECT_FALSE(folder_.Has("edited-new.va"));
    EXPECT_EQ(Va("apply --trust edited.va p.va").exitCode, 2);
    EXPECT_FALSE(folder_.Has("edited-new.va"));
}

class VaAppliesManifests : public VaApplies {
protected:
    void SetUp() override {
        VaApplies::SetUp();
        folder_.Write("note.txt", "Version two.\nHave fun.");
        ASSERT_EQ(Va("diff old.va new.va -o m.va --note note.txt").exitCode, 0);
    }
};

TEST_F(VaAppliesManifests, GivesTheMakersBytesUnderTheMakersName) {
    fs::rename(folder_.Path("new.va"), folder_.Path("kept.va"));
    const Outcome run = Va("apply m.va old.va");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.err, testing::AllOf(HasSubstr("new.va   "), HasSubstr("\nproved: sha256 "),
                                        HasSubstr("note: Version two.\\x0aHave fun.\n")));
    EXPECT_TRUE(folder_.Read("new.va") == folder_.Read("kept.va"));
    EXPECT_EQ(Va("apply -q -j1 old.va m.va -o one.va").err, "");
    EXPECT_TRUE(folder_.Read("one.va") == folder_.Read("kept.va"));
    // Again: the result is there.
    ExpectAnswers({{"apply old.va m.va", 0, "new.va: already applied\n"},
                   {"apply new.va m.va", 0, "new.va: already applied\n"},
                   {"apply new.va m.va -o copy.va", 0, "was the new side already"},
                   {"apply old m.va -o folder.va", 0, "proved: sha256 "},
                   {"verify old m.va", 0, "old: the old side\n"},
                   {"verify -j3 one.va m.va", 0, "one.va: the new side\n"}});
    EXPECT_TRUE(SameContent("copy.va", "kept.va"));
    EXPECT_TRUE(folder_.Read("folder.va") == folder_.Read("kept.va"));
}

TEST_F(VaAppliesManifests, GivesANameBesideAnOldSideThatHasTheMakersName) {
    for (const char* version : {"old", "new"}) {
        fs::create_directories(folder_.Path("game/"s + version));
        fs::copy(folder_.Path(version + ".va"s), folder_.Path("game/"s + version + "/Game.va"));
    }
    ExpectAnswers({{"diff game/old/Game.va game/new/Game.va -o g.va", 0, "*"},
                   {"apply game/old/Game.va g.va", 0, "game/old/Game-new.va   "}});
    EXPECT_TRUE(folder_.Read("game/old/Game-new.va") == folder_.Read("new.va"));
}

TEST_F(VaAppliesManifests, PatchBetweenEqualSidesIsAppliedAlready) {
    ExpectAnswers({{"diff old.va old.va -o same.va", 0, "*"},
                   {"apply old.va same.va", 0, "old.va: already applied\n"},
                   {"apply old.va same.va -o copy.va", 0, "was the new side already"},
                   // The contents are those of the new side; the maker's bytes are still to come.
                   {"diff old old.va -o packed.va", 0, "*"},
                   {"apply old packed.va -o made.va", 0, "proved: sha256 "}});
    EXPECT_TRUE(folder_.Read("copy.va") == folder_.Read("old.va"));
    EXPECT_TRUE(folder_.Read("made.va") == folder_.Read("old.va"));
}

TEST_F(VaAppliesManifests, NamesAMemberThatNoListNames) {
    folder_.Write("old/wall.tga", "repainted");
    fs::rename(folder_.Path("old"), folder_.Path("edited"));
    PackFolder("edited");
    fs::copy(folder_.Path("edited"), folder_.Path("more"), fs::copy_options::recursive);
    folder_.Write("more/wall.tga", Noise(40000));
    folder_.Write("more/extra.txt", "not there before");
    folder_.Write("hurt.va", folder_.Read("old.va"));
    Damage("hurt.va", Noise(40000).substr(5000, 20));
    ExpectAnswers({
        {"apply edited.va m.va", 2, "; changed on this machine: wall.tga; run 'va compare"},
        {"apply more m.va -o x.va", 2, "; changed on this machine: extra.txt; run 'va compare"},
        {"apply hurt.va m.va", 2, "hurt.va: damaged: wall.tga: its content disagrees"},
        {"apply --trust edited.va m.va -o t.va", 2, "leave out --trust to learn why"},
        {"verify edited.va m.va", 1, "changed on this machine: wall.tga"},
    });
    EXPECT_FALSE(folder_.Has("x.va"));
}

TEST_F(VaAppliesManifests, SaysThatAnEditedNewSideIsOne) {
    fs::copy(folder_.Path("new"), folder_.Path("edited"), fs::copy_options::recursive);
    folder_.Write("edited/config.txt", "name City\n");
    const std::string told = "it is the new one already; changed on this machine: config.txt; ";
    const std::string object =
        R"({"type":"suspect","name":"config.txt","certain":true,"side":"new"})";
    ExpectAnswers({
        {"apply edited m.va -o x.va", 2, told},
        {"apply edited p.va -o x.va", 2, told},
        {"verify -v edited m.va", 1, "changed config.txt\n"},
        {"verify --json edited m.va", 1, object},
    });
    folder_.Write("edited/config.txt", "name Town 2\n");
    folder_.Write("edited/wall.tga", "repainted");
    ExpectAnswers({{"verify edited m.va", 1, "already; changed on this machine: wall.tga; "}});
}

TEST_F(VaAppliesManifests, TrustNeverGivesAnotherResultThanTheMakers) {
    ASSERT_EQ(Va("diff old.va new -o contents.va").exitCode, 0);  // promises no archive
    folder_.Write("hurt.va", folder_.Read("old.va"));
    Damage("hurt.va", Noise(40000).substr(5000, 20));
    fs::copy(folder_.Path("old"), folder_.Path("edited"), fs::copy_options::recursive);
    folder_.Write("edited/wall.tga", "repainted");
    const std::string told = "the result would not be the maker's; leave out --trust to learn why";
    ExpectAnswers({{"apply --trust hurt.va contents.va -o t.va", 2, told},
                   {"apply --trust edited contents.va -o t.va", 2, told},
                   {"apply --trust hurt.va m.va -o t.va", 2, told},
                   {"apply --trust hurt.va p.va -o t.va", 2, told}});
    EXPECT_FALSE(folder_.Has("t.va"));
    ExpectAnswers({{"apply --trust old contents.va -o t.va", 0, "t.va"}});
    EXPECT_TRUE(SameContent("t.va", "new.va"));
}

// The same members, which the old archive stores otherwise than the maker's.
TEST_F(VaAppliesManifests, ContentsAloneAreWorthALook) {
    std::string bytes = folder_.Read("old.va");
    bytes[28] ^= 1;  // a version number, which no list and no sum knows
    folder_.Write("odd.va", bytes);
    const Outcome run = Va("apply odd.va m.va -o r.va");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr("warning: r.va: its members and contents are the maker's"));
    EXPECT_EQ(Va("apply --trust odd.va m.va -o trusted.va").exitCode, 1);
    EXPECT_TRUE(folder_.Read("trusted.va") == folder_.Read("r.va"));
    EXPECT_TRUE(SameContent("r.va", "new.va"));
}

}  // namespace
}  // namespace Vorn::Testing
