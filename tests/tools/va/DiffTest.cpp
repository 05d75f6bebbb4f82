// va diff makes patches that every program applies, and refuses what no patch can carry.
#include <nlohmann/json.hpp>

#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

using Files = std::map<std::string, std::string>;

class VaDiff : public VaProgram {
protected:
    void SetUp() override {
        // Copies: the converter locks its own file. Only the programs themselves, since the folder
        // that they are built in can have files that another test is writing.
        const fs::path programs = fs::path(VACONVERTER).parent_path() / "../..";
        for (const char* program : {VACONVERTER, VDIFFL, VPATCHL}) {
            const fs::path copy = folder_.Path("app") /
                                  fs::path(program).lexically_relative(programs.lexically_normal());
            fs::create_directories(copy.parent_path());
            fs::copy_file(program, copy);
        }
    }

    // Writes a folder, and an archive of it.
    void Make(const std::string& name, const Files& files) const {
        for (const auto& [path, content] : files) folder_.Write(name + "/" + path, content);
        ASSERT_EQ(Run("cd " + name + " && " VARCHIVE " -r -k -c a ../" + name + ".va '*'"), 0);
    }

    [[nodiscard]] int Run(const std::string& command) const {
        return Shell("cd " + folder_.Path() + " && { " + command + "; } >/dev/null 2>&1");
    }

    // Applies a patch with the fixed program, and gives the archive that it makes.
    [[nodiscard]] std::string Applied(const std::string& old, const std::string& patch) const {
        EXPECT_EQ(Run("app/VAConverter/bin/VAConverter patchapply " + old + ".va " + patch + " -"),
                  0);
        return folder_.Read(old + "-tmp.va");
    }

    void ExpectNoStrayFiles() const {
        for (const auto& entry : fs::directory_iterator(folder_.Path()))
            EXPECT_NE(entry.path().filename().string().front(), '.') << entry.path();
    }

    void Damage(const std::string& file, const std::string& after) const {
        std::string bytes = folder_.Read(file);
        bytes.at(bytes.find(after) + after.size()) ^= 0x20;
        folder_.Write(file, bytes);
    }

    const Files old_ = {
        {"config.txt", "name Town\n"},       {"gone.txt", Prose(2000)},
        {"Old/name.txt", Prose(3000)},       {"same/large.bin", Noise(70000, 3)},
        {"same/small.txt", "small"},         {"textures/roof.tga", Noise(50000, 1) + Prose(20000)},
        {"textures/wall.tga", Prose(40000)}, {"Zone.txt", "old zone"}};
    const Files new_ = {{"CFIL.txt", "CFIL is how a stream begins"},
                        {"config.txt", "name Town 2\n"},
                        {"new/name.txt", Prose(3000)},
                        {"new/noise.bin", Noise(9000, 7)},
                        {"same/large.bin", Noise(70000, 3)},
                        {"same/small.txt", "small"},
                        {"textures/roof.tga", Noise(50000, 1) + "more" + Prose(20000)},
                        {"textures/wall.tga", Noise(30000, 9)},
                        {"Zone.txt", "new zone"}};
};

TEST_F(VaDiff, MakesWhatPatchapplyAppliesToTheSameArchive) {
    Make("old", old_);
    Make("new", new_);
    ASSERT_EQ(Run("app/VAConverter/bin/VAConverter patchdiff old.va new.va out"), 0);
    const std::string expected = Applied("old", "out/old-diff.va");
    ASSERT_FALSE(expected.empty());
    for (const char* words : {"diff old.va new.va", "diff old new", "diff old.va new --plain"}) {
        SCOPED_TRACE(words);
        const Outcome made = Va(words + " -f -o made.va"s);
        EXPECT_EQ(made.exitCode, 0) << made.err;
        EXPECT_THAT(made.err, HasSubstr("made.va"));
        EXPECT_TRUE(Applied("old", "made.va") == expected);
        EXPECT_EQ(Va("test made.va").exitCode, 0);
    }
    EXPECT_THAT(Va("list made.va").out, testing::Not(HasSubstr(".va/manifest")));
    EXPECT_EQ(Va("diff old.va new.va").exitCode, 0);
    EXPECT_THAT(Va("list old-new.patch.va").out,
                testing::EndsWith("patchedFiles.txt\n.va/manifest\n"));
    for (const char* list : {"addedFiles.txt", "deletedFiles.txt", "patchedFiles.txt"})
        EXPECT_EQ(Va("cat old-new.patch.va:"s + list).out, Va("cat out/old-diff.va:"s + list).out);
    ExpectNoStrayFiles();
}

TEST_F(VaDiff, CompressesListsThatPatchapplyReads) {
    Files old;
    Files changed;
    for (int i = 0; i < 40; ++i) {
        const std::string name = "folder/member" + std::to_string(i);
        old.insert({{name, Prose(300) + name}, {"gone/" + name, "gone " + name}});
        changed.insert({{name, Prose(310) + name}, {"new/" + name, "new " + name}});
    }
    Make("old", old);
    Make("new", changed);
    ASSERT_EQ(Run("app/VAConverter/bin/VAConverter patchdiff old.va new.va out"), 0);
    for (const char* words : {"diff -f old.va new.va -o p.va", "diff -f --plain old new -o p.va"}) {
        SCOPED_TRACE(words);
        ASSERT_EQ(Va(words).exitCode, 0);
        EXPECT_TRUE(Applied("old", "p.va") == Applied("old", "out/old-diff.va"));
        ASSERT_EQ(Va("apply -f old.va p.va -o r.va").exitCode, 0);
        EXPECT_EQ(Va("compare r.va new.va").exitCode, 0);
        std::istringstream lines(Va("list --json p.va '*Files.txt'").out);
        int lists = 0;
        for (std::string line; std::getline(lines, line);) {
            const auto member = nlohmann::json::parse(line);
            if (member.at("type") != "member") continue;
            ++lists;
            EXPECT_LT(member.at("stored"), member.at("size")) << line;
        }
        EXPECT_EQ(lists, 3);
    }
}

TEST_F(VaDiff, TellsWhatChangesAndDigestsTheNewSide) {
    Make("old", old_);
    Make("new", new_);
    const Outcome made = Va("diff --json old.va new");
    EXPECT_EQ(made.exitCode, 0);
    EXPECT_THAT(made.err, HasSubstr("2 same  4 changed  2 added  1 moved  1 removed\nproved: "));
    const auto end =
        nlohmann::json::parse(made.out.substr(made.out.rfind('\n', made.out.size() - 2) + 1));
    ASSERT_EQ(Run("cd new && find * -type f | LC_ALL=C sort | xargs sha256sum >../sums && "
                  "cd .. && sha256sum sums | cut -c1-64 | tr -d '\\n' >digest"),
              0);
    EXPECT_EQ(end.at("sha256"), folder_.Read("digest"));
    EXPECT_EQ(end.at("size"), fs::file_size(folder_.Path("old-new.patch.va")));
    const std::string manifest = Va("cat old-new.patch.va:.va/manifest").out;
    EXPECT_THAT(manifest, HasSubstr(" new/name.txt\tOld/name.txt\n"));
    EXPECT_THAT(manifest, HasSubstr(" sha256 " + folder_.Read("digest") + "\nname new.va\n"));
    EXPECT_THAT(Va("diff -v -n -f old.va new").err,
                HasSubstr("moved new/name.txt from Old/name.txt"));
}

TEST_F(VaDiff, PromisesTheBytesOfAnArchiveThatApplyingGives) {
    Make("old", old_);
    Make("new", new_);
    const auto add = [&](const std::string& side, const char* words) {
        ASSERT_EQ(Run("cd " + side + " && " VARCHIVE " -r -k "s + words), 0);
    };
    // Other ways to store, and other orders.
    add("old", "a ../old.plain.va '*'");
    add("new", "a ../new.plain.va '*'");
    add("new", "-c a ../mixed.va 'textures/*'");
    add("new", "a ../mixed.va 'same/*' 'new/*' CFIL.txt");
    add("new", "-c a ../mixed.va config.txt Zone.txt");
    for (const auto& [from, to] : Table<std::string, std::string>{{"old.va", "new.va"},
                                                                  {"old.plain.va", "new.plain.va"},
                                                                  {"old.plain.va", "new.va"},
                                                                  {"old.va", "new.plain.va"},
                                                                  {"old.va", "mixed.va"},
                                                                  {"mixed.va", "old.va"},
                                                                  {"old", "mixed.va"},
                                                                  {"new.va", "mixed.va"}}) {
        SCOPED_TRACE(from + " to " + to);
        const Outcome made = Va("diff -f -o p.va " + from + " " + to);
        ASSERT_EQ(made.exitCode, 0) << made.err;
        EXPECT_THAT(made.err, HasSubstr("it gives " + to + " byte for byte (sha256 "));
        ASSERT_EQ(Va("apply -f -o r.va " + from + " p.va").exitCode, 0);
        EXPECT_TRUE(folder_.Read("r.va") == folder_.Read(to));
    }
}

TEST_F(VaDiff, PromisesTheContentOfOtherArchives) {
    Make("old", old_);
    Make("new", new_);
    const std::string whole = folder_.Read("new.va");
    // A member that was replaced leaves dead bytes.
    ASSERT_EQ(Run("cd new && " VARCHIVE " -r -k -c a ../new.va config.txt"), 0);
    ASSERT_NE(folder_.Read("new.va").size(), whole.size());
    // Another maker may record a time, or no check sum.
    std::string timed = whole;
    timed.at(timed.find("new/noise.bin") + 272) = 1;
    folder_.Write("timed.va", timed);
    folder_.Write("longer.va", whole + "x");
    for (const char* fresh : {"new.va", "timed.va", "longer.va", "new"}) {
        SCOPED_TRACE(fresh);
        const Outcome made = Va("diff -f -o p.va old.va "s + fresh);
        ASSERT_EQ(made.exitCode, 0) << made.err;
        EXPECT_THAT(made.err, HasSubstr("it gives the 9 members of "s + fresh));
        EXPECT_EQ(made.err.find("but not its bytes") == std::string::npos, fresh == "new"s);
        ASSERT_EQ(Va("apply -f -o r.va old.va p.va").exitCode, 0);
        EXPECT_EQ(Va("compare r.va "s + fresh).exitCode, 0);
    }
}

TEST_F(VaDiff, GivesTheSameBytesForAnyNumberOfThreads) {
    Make("old", old_);
    Make("new", new_);
    for (const char* limit : {"", " --memory-limit=70M", " --no-verify", " --plain"}) {
        SCOPED_TRACE(limit);
        ASSERT_EQ(Va("diff old.va new.va -f -j1 -o one.va"s + limit).exitCode, 0);
        ASSERT_EQ(Va("diff old.va new.va -f -j7 -o seven.va"s + limit).exitCode, 0);
        EXPECT_TRUE(folder_.Read("one.va") == folder_.Read("seven.va"));
    }
    const Outcome low = Va("diff old.va new.va -f -o low.va --memory-limit=1M");
    EXPECT_EQ(low.exitCode, 8);
    EXPECT_THAT(low.err, HasSubstr("CFIL.txt: its diff needs a memory limit of 65M or more"));
    EXPECT_FALSE(folder_.Has("low.va"));
}

TEST_F(VaDiff, OfEqualSidesIsEmptyAndChangesNothing) {
    Make("old", old_);
    for (const char* fresh : {"old.va", "old"}) {
        const Outcome made = Va("diff -f -o none.va old.va "s + fresh);
        EXPECT_EQ(made.exitCode, 0);
        EXPECT_THAT(made.err, HasSubstr("8 same\nproved: "));
        for (const char* list : {"addedFiles.txt", "deletedFiles.txt", "patchedFiles.txt"})
            EXPECT_EQ(Va("cat none.va:"s + list).out, "");
    }
    (void)Applied("old", "none.va");
    EXPECT_EQ(Va("compare old.va old-tmp.va").exitCode, 0);
}

TEST_F(VaDiff, CarriesEmptyMembersAndLetterCaseInTheManifest) {
    Make("old", {{"Case.txt", Prose(1500)}, {"filled.txt", ""}, {"hollow.txt", "text"}});
    Make("new",
         {{"case.txt", Prose(1500)}, {"filled.txt", "text"}, {"hollow.txt", ""}, {"new", ""}});
    // The folder holds the empty ones; VArchive stores none.
    ASSERT_EQ(Va("diff old new").exitCode, 0);
    const std::string manifest = Va("cat old-new.patch.va:.va/manifest").out;
    EXPECT_THAT(manifest, HasSubstr("\nE new\nM "));
    EXPECT_THAT(manifest, HasSubstr(" case.txt\tCase.txt\n"));
    EXPECT_THAT(Va("cat old-new.patch.va:addedFiles.txt").out, testing::StartsWith("case.txt\n"));
    EXPECT_THAT(Va("cat old-new.patch.va:deletedFiles.txt").out, testing::StartsWith("Case.txt\n"));
    ExpectAnswers({
        {"diff old new --plain -o p.va", 2, "without content; make it without --plain"},
        {"diff old new --plain --allow-lossy -o p.va", 1, "new has no content; omitted\n"},
        {"diff old new --plain --allow-lossy -fo p.va", 1, "1 added  1 removed  2 omitted\n"},
        {"diff --json -nf old new --plain --allow-lossy", 1, "\"added\":1,\"moved\":0,"},
        {"diff --json -nf old new --plain --allow-lossy", 1, "\"left_out\":2,"},
        {"diff -nf old new --plain --allow-lossy", 1, "hollow.txt has no content; omitted\n"},
        {"diff -nf new new --plain --allow-lossy", 1, "new has no content; omitted\n"},
        {"apply old.va p.va -o r.va", 0, "1 added  1 removed"},
        {"diff old new --allow-lossy -o p.va", 7, "--allow-lossy needs --plain"},
    });
}

TEST_F(VaDiff, RefusesByNameAndWritesNothing) {
    Make("old", old_);
    folder_.Write("mine.va", "mine");
    const auto tree = [&](const std::string& name, const std::string& file) {
        folder_.Write(name + "/" + file, "content");
    };
    tree("line", "two\nlines.txt");
    tree("list", "ADDEDfiles.txt");
    tree("own", ".va/thing");
    tree("twice", "One.txt");
    tree("twice", "one.txt");
    folder_.Write("note.bin", "fine\t\xC2\xA0\nnot\x01 fine");
    folder_.Write("note.8bit", "\xE9");
    ExpectAnswers({
        {"diff old.va list -o p.va", 2, "ADDEDfiles.txt is the name of a list"},
        {"diff old.va own -o p.va", 2, ".va/thing lies below '.va/'"},
        {"diff old.va twice -o p.va", 2, "several members have one name"},
        {"diff twice old.va -o p.va", 2, "twice: several members have one name"},
        {"diff old.va old -o mine.va", 2, "mine.va exists; -f replaces it"},
        {"diff old.va old -f -o ./old.va", 2, "is one of the inputs; name another file"},
        {"diff old.va old -f -o old", 2, "is one of the inputs; name another file"},
        {"diff old.va old -o old/../old/p.va", 2, "lies below the input folder old "},
        {"diff old.va old -f -o own", 2, "a folder or device has this name"},
        {"diff old.va nowhere", 9, "nowhere"},
        {"diff old.va mine.va", 2, "mine.va"},
        {"diff old.va old -o p.va --note=note.bin", 2,
         "va: note.bin: line 2 has the control character \\x01; a note is plain text\n"},
        {"diff old.va old -o p.va --note=note.8bit", 2, "note.8bit: line 1 is not UTF-8"},
        {"diff old.va old -o p.va --note=none", 9, "--note names a file"},
        {"diff old.va old -o p.va --note=old", 9, "cannot read 'old'; --note names a file"},
        {"diff old.va old -o nowhere/p.va", 9, "nowhere: there is no such folder"},
    });
    // Such a file of a folder is skipped, which is worth a look.
    ExpectAnswers({{"diff old.va line -n -o p.va", 1, "has a control byte; skipped"}});
    EXPECT_EQ(folder_.Read("mine.va"), "mine");
    EXPECT_FALSE(folder_.Has("p.va"));
    ExpectNoStrayFiles();
}

TEST_F(VaDiff, NamesDamagedInputsAndWritesNothing) {
    Make("old", old_);
    Make("new", new_);
    const std::string whole = folder_.Read("new.va");
    // In an added, a changed and an unchanged member; the last one is hurt on one side only.
    for (const auto& [place, name] : {std::pair(Noise(9000, 7).substr(0, 20), "new/noise.bin"),
                                      std::pair("new zone"s.substr(0, 3), "Zone.txt"),
                                      std::pair(Noise(70000, 3).substr(0, 20), "same/large.bin")}) {
        SCOPED_TRACE(name);
        folder_.Write("new.va", whole);
        Damage("new.va", place);
        const Outcome made = Va("diff old.va new.va -o p.va");
        EXPECT_EQ(made.exitCode, 2);
        EXPECT_THAT(made.err, HasSubstr("new.va: "s + name));
        EXPECT_FALSE(folder_.Has("p.va"));
    }
    folder_.Write("new.va", whole.substr(0, whole.size() - 100));
    ExpectAnswers({{"diff old.va new.va -o p.va", 2, "its index is missing or damaged"}});
    // The same damage on both sides is stored alike.
    Damage("old.va", Noise(70000, 3).substr(0, 20));
    fs::copy_file(folder_.Path("old.va"), folder_.Path("copy.va"));
    ExpectAnswers({{"diff old.va copy.va -o p.va", 2, "same/large.bin"}});
    EXPECT_FALSE(folder_.Has("p.va"));
    ExpectNoStrayFiles();
}

TEST_F(VaDiff, SaysWhenTheDiskIsFullAndLeavesNothing) {
    Make("old", {{"a", "a"}});
    Make("new", {{"a", "a"}, {"large.bin", Noise(300000)}});
    if (Run("mkdir tiny && mount -t tmpfs -o size=64k none tiny") != 0)
        GTEST_SKIP() << "needs mount";
    const Outcome made = Va("diff old.va new.va -o tiny/p.va");
    EXPECT_EQ(made.exitCode, 50);
    EXPECT_THAT(made.err, HasSubstr("tiny/p.va: "));
    EXPECT_TRUE(fs::is_empty(folder_.Path("tiny")));
    EXPECT_EQ(Run("umount tiny"), 0);
}

TEST_F(VaDiff, PlansTheSamePatchWithoutWritingIt) {
    Make("old", old_);
    Make("new", new_);
    const auto summary = [](const Outcome& outcome) {
        return outcome.err.substr(outcome.err.find("new.patch.va"));
    };
    const Outcome planned = Va("diff -n old.va new.va");
    EXPECT_EQ(planned.exitCode, 0);
    EXPECT_FALSE(folder_.Has("old-new.patch.va"));
    const Outcome made = Va("diff old.va new.va");
    EXPECT_EQ(summary(planned), summary(made));
}

}  // namespace
}  // namespace Vorn::Testing
