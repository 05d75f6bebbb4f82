// Compact patches: made, applied, expanded, judged.
#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

using Files = std::map<std::string, std::string>;

class VaCompact : public VaProgram {
protected:
    void Make(const std::string& name, const Files& files) const {
        for (const auto& [path, content] : files) folder_.Write(name + "/" + path, content);
        ASSERT_EQ(Shell("cd " + folder_.Path(name) + " && " VARCHIVE " -r -k -c a ../" + name +
                        ".va '*' >/dev/null"),
                  0);
    }

    void MakeSides() const {
        Make("old", old_);
        Make("new", new_);
    }

    [[nodiscard]] bool AreEqual(const std::string& a, const std::string& b) const {
        return folder_.Read(a) == folder_.Read(b);
    }

    const std::string stretch_ = Noise(90000, 5);
    const Files old_ = {
        {"config.txt", "name Town\n"},       {"gone.txt", Prose(2000)},
        {"before/name.txt", Prose(3000)},    {"same/large.bin", Noise(70000, 3)},
        {"same/twin.bin", Noise(70000, 3)},  {"textures/roof.tga", Noise(50000, 1) + Prose(20000)},
        {"textures/wall.tga", Prose(40000)}, {"long.bin", stretch_ + Noise(500, 8)}};
    const Files new_ = {{"config.txt", "name Town 2\n"},
                        {"CFIL.txt", "CFIL is how a stream begins"},
                        {"empty.txt", ""},
                        {"after/name.txt", Prose(3000)},
                        {"same/large.bin", Noise(70000, 3)},
                        {"same/twin.bin", Noise(70000, 3)},
                        {"new/like-roof.tga", "ab" + Noise(50000, 1) + "cd" + Prose(19000)},
                        {"new/joined.bin", Noise(60000, 1) + stretch_ + Noise(3000, 6)},
                        {"new/again.bin", Noise(3000, 6) + Noise(400, 9) + Noise(60000, 1)},
                        {"textures/roof.tga", Noise(50000, 1) + "more" + Prose(20000)},
                        {"textures/wall.tga", Noise(30000, 9)},
                        {"long.bin", stretch_ + Noise(500, 8)}};
};

TEST_F(VaCompact, BlamesAnOldSideThatWasNotJudged) {
    MakeSides();
    ASSERT_EQ(Va("diff --compact old.va new.va -o p.vap").exitCode, 0);
    ASSERT_EQ(Va("diff old.va new.va -o p.va").exitCode, 0);
    fs::copy(folder_.Path("old"), folder_.Path("alt"), fs::copy_options::recursive);
    const std::string told =
        ": the result would not be the maker's; leave out --trust to learn why";
    for (const auto& [file, content] :
         Table<std::string, std::string>{{"textures/roof.tga", Noise(50000, 2) + Prose(20000)},
                                         {"textures/roof.tga", "short"},
                                         {"same/large.bin", Noise(70000, 4)}}) {
        folder_.Write("alt/" + file, content);
        ExpectAnswers({{"apply alt p.vap -o r.va --trust", 2, "alt" + told},
                       {"apply alt p.vap -o r.va", 2, "run 'va compare"}});
        folder_.Write("alt/" + file, old_.at(file));
    }
}

TEST_F(VaCompact, FindsTheNewArchiveInItsPlace) {
    MakeSides();
    ASSERT_EQ(Va("diff --compact old.va new.va -o p.vap").exitCode, 0);
    ASSERT_EQ(Va("diff old.va new.va -o p.va").exitCode, 0);
    folder_.Write("mine.va", "mine");
    ASSERT_EQ(Va("apply old.va p.va -o r.va").exitCode, 0);
    for (const char* patch : {"p.va", "p.vap"}) {
        SCOPED_TRACE(patch);
        for (const char* old : {"old.va ", "new.va "}) {
            ExpectAnswers({{"apply "s + old + patch + " -o r.va", 0, "r.va: already applied\n"},
                           {"apply "s + old + patch + " -o mine.va", 2, "mine.va exists; -f"},
                           {"apply "s + old + patch + " -o old.va", 2, "old.va "}});
        }
    }
    EXPECT_EQ(folder_.Read("mine.va"), "mine");
}

TEST_F(VaCompact, IsSmallerAndGivesTheSameArchive) {
    MakeSides();
    ASSERT_EQ(Va("diff old.va new.va -o plain.patch.va").exitCode, 0);
    const Outcome made = Va("diff --compact old.va new.va");
    ASSERT_EQ(made.exitCode, 0) << made.err;
    EXPECT_THAT(made.err, HasSubstr("old-new.vap"));
    // Most of the new members' bytes stand in the old archive, whatever they are called.
    EXPECT_LT(folder_.Read("old-new.vap").size(), 50000u);
    EXPECT_LT(folder_.Read("old-new.vap").size() * 4, folder_.Read("plain.patch.va").size());
    const Outcome applied = Va("apply old.va old-new.vap -o result.va");
    EXPECT_EQ(applied.exitCode, 0) << applied.err;
    EXPECT_THAT(applied.err, HasSubstr("as the maker's"));
    EXPECT_TRUE(AreEqual("result.va", "new.va"));
}

TEST_F(VaCompact, DoesNotDependOnThreadsOrNames) {
    MakeSides();
    for (const char* words : {"-j1 -o a.vap", "-j4 -o b.vap", "-j3 --compact -o c.bin"}) {
        ASSERT_EQ(Va("diff old.va new.va "s + words).exitCode, 0) << words;
    }
    EXPECT_TRUE(AreEqual("a.vap", "b.vap"));
    EXPECT_TRUE(AreEqual("a.vap", "c.bin"));
    EXPECT_EQ(Va("apply -j2 c.bin old.va -o result.va").exitCode, 0) << "told by its magic";
    EXPECT_TRUE(AreEqual("result.va", "new.va"));
    EXPECT_EQ(Va("diff --compact --plain old.va new.va").exitCode, 7);
    EXPECT_EQ(Va("diff -n old.va new.va -o none.vap").exitCode, 0);
    EXPECT_FALSE(fs::exists(folder_.Path("none.vap")));
}

TEST_F(VaCompact, ExpandsToWhatDiffWouldHaveWritten) {
    MakeSides();
    folder_.Write("note.txt", "for players\n");
    for (const char* sides : {"old.va new.va", "old new", "old.va new", "old.va old.va"}) {
        SCOPED_TRACE(sides);
        const std::string diff = "diff -f --note=note.txt "s + sides;
        ASSERT_EQ(Va(diff + " -o plain.patch.va").exitCode, 0);
        ASSERT_EQ(Va(diff + " -o small.vap").exitCode, 0);
        const std::string old = std::string(sides).substr(0, std::string(sides).find(' '));
        const Outcome expanded = Va("expand -f small.vap " + old + " -o expanded.patch.va");
        EXPECT_EQ(expanded.exitCode, 0) << expanded.err;
        EXPECT_TRUE(AreEqual("expanded.patch.va", "plain.patch.va"));
    }
    EXPECT_EQ(Va("expand small.vap new.va -o other.patch.va").exitCode, 2) << "not the old side";
    EXPECT_FALSE(fs::exists(folder_.Path("other.patch.va")));
    EXPECT_THAT(Names(), testing::Not(HasSubstr(".new-")));
}

TEST_F(VaCompact, JudgesTheOldSide) {
    MakeSides();
    ASSERT_EQ(Va("diff --compact old.va new.va -o small.vap").exitCode, 0);
    folder_.Write("edited/config.txt", "name City\n");
    ASSERT_EQ(Shell("cd " + folder_.Path("edited") +
                    " && cp ../old.va ../edited.va && " VARCHIVE
                    " -k a ../edited.va config.txt >/dev/null"),
              0);
    const Outcome edited = Va("apply edited.va small.vap -o result.va");
    EXPECT_EQ(edited.exitCode, 2);
    EXPECT_THAT(edited.err, HasSubstr("changed on this machine"));
    EXPECT_THAT(edited.err, HasSubstr("config.txt"));
    ExpectAnswers({{"apply --check old.va small.vap", 0, "can be applied"},
                   {"apply new.va small.vap", 0, "already applied"},
                   {"apply new.va small.vap -o copy.va", 0, "was the new side already"},
                   {"verify old.va small.vap", 0, "the old side"},
                   {"verify small.vap new.va", 0, "the new side"},
                   {"verify edited.va small.vap", 1, "config.txt"},
                   {"apply -n old.va small.vap -o result.va", 0, "would write"}});
    EXPECT_FALSE(fs::exists(folder_.Path("result.va")));
    EXPECT_EQ(Va("compare copy.va new.va").exitCode, 0);
}

TEST_F(VaCompact, ObeysAMemoryLimit) {
    folder_.Write("old/big.bin", Noise(6'000'000, 1));
    for (const char* side : {"old", "new"}) {
        folder_.Write(side + "/second.bin"s, Noise(60'000'000, 3));
    }
    folder_.Write("new/big.bin", Noise(6'000'000, 1) + "more");
    folder_.Write("new/like.bin", Noise(3'000'000, 1) + Noise(1'000'000, 2) + Noise(2'000'000, 3));
    const Outcome refused = Va("diff old new -o small.vap --memory-limit=80M");
    EXPECT_EQ(refused.exitCode, 8) << refused.err;
    EXPECT_FALSE(fs::exists(folder_.Path("small.vap")));
    const std::size_t at = refused.err.find("a memory limit of ") + 18;
    ASSERT_LT(at, refused.err.size()) << refused.err;
    const std::string least = refused.err.substr(at, refused.err.find('M', at) + 1 - at);
    for (const std::string jobs : {"j1", "j4"}) {
        const Outcome made =
            Va("diff old new -" + jobs + " -o " + jobs + ".vap --memory-limit=" + least);
        ASSERT_EQ(made.exitCode, 0) << made.err;
    }
    EXPECT_TRUE(AreEqual("j1.vap", "j4.vap"));
    ASSERT_EQ(Va("apply old j1.vap -o result.va").exitCode, 0);
    EXPECT_EQ(Va("compare result.va new").exitCode, 0);
    // Under the least limit only one of its two sources fits beside the added member.
    ASSERT_EQ(Va("diff old new -o free.vap").exitCode, 0);
    EXPECT_LT(fs::file_size(folder_.Path("free.vap")), 1'010'000u);
    EXPECT_LT(fs::file_size(folder_.Path("free.vap")), fs::file_size(folder_.Path("j1.vap")));
}

TEST_F(VaCompact, GetsItsNameOnlyOnTheStorageDevice) {
    if (VORN_SANITIZED) GTEST_SKIP() << "strace does not trace what the sanitizers start";
    MakeSides();
    const std::string run = "cd " + folder_.Path() +
                            " && strace -f -qq -o /dev/null -e trace=fsync,fdatasync "
                            "--inject=fsync,fdatasync:error=EIO " VA
                            " diff -q old.va new.va -o small.vap 2>said";
    EXPECT_EQ(Shell(run), 2);
    EXPECT_THAT(folder_.Read("said"), HasSubstr("small.vap"));
    EXPECT_FALSE(fs::exists(folder_.Path("small.vap")));
}

TEST_F(VaCompact, TellsWhatItIsMadeOf) {
    MakeSides();
    folder_.Write("note.txt", "for players\n");
    ASSERT_EQ(Va("diff --compact old.va new.va -o small.vap --note=note.txt").exitCode, 0);
    const auto size = std::to_string(fs::file_size(folder_.Path("small.vap")));
    const std::string digest = Va("info --json old.va").out;
    const std::string sha = digest.substr(digest.find("\"sha256\":\"") + 10, 64);
    ExpectAnswers(
        {{"info small.vap", 0, "small.vap: compact patch\n  old side        8 members, "},
         {"info small.vap", 0, sha},
         {"info small.vap", 0, "  note            for players\n"},
         {"info small.vap", 0, "3 same  3 changed  5 added  1 moved  1 removed\n"},
         {"info --json small.vap", 0, "\"size\":" + size + ",\"same\":3,"},
         {"test small.vap", 0, "small.vap: whole, 7 members, "},
         {"report --json small.vap", 0, "{\"type\":\"stream\",\"stream\":\"head\","},
         {"report small.vap", 0, "moved or copied from another member                1\n"},
         {"report small.vap -o why.html", 0, "open it in a browser"},
         {"list small.vap", 2, "small.vap"}});
    std::istringstream table(Va("report small.vap").out);
    std::uint64_t sum = 0;
    std::string line;
    std::getline(table, line);
    while (std::getline(table, line) && !line.empty()) sum += std::stoull(line);
    EXPECT_EQ(std::to_string(sum), size) << "each byte has one reason";
    EXPECT_THAT(folder_.Read("why.html"), HasSubstr("The streams of the patch"));
}

TEST_F(VaCompact, RefusesWhatIsDamaged) {
    MakeSides();
    ASSERT_EQ(Va("diff --compact old.va new.va -o small.vap").exitCode, 0);
    const std::string good = folder_.Read("small.vap");
    for (const std::size_t at : {5u, 40u, 2000u, 20000u}) {
        std::string bytes = good;
        bytes.at(at) ^= 4;
        folder_.Write("bad.vap", bytes);
        const Outcome refused = Va("apply old.va bad.vap -o result.va");
        EXPECT_EQ(refused.exitCode, 2) << at;
        EXPECT_THAT(refused.err, HasSubstr("download it again")) << at;
        for (const char* command : {"info", "test", "report"}) {
            EXPECT_EQ(Va(command + " bad.vap"s).exitCode, 2) << command << " " << at;
        }
    }
    std::string later = good;
    later.at(4) = 9;
    folder_.Write("later.vap", later);
    EXPECT_THAT(Va("apply old.va later.vap").err, HasSubstr("a later version of this program"));
    EXPECT_FALSE(fs::exists(folder_.Path("result.va")));
}

}  // namespace
}  // namespace Vorn::Testing
