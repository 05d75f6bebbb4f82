#include <algorithm>
#include <filesystem>

#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

namespace fs = std::filesystem;

// An archive of four members, two of them compressed, and the folder that it was made from.
class VaReadsArchives : public VaProgram {
protected:
    void SetUp() override {
        folder_.Write("town/config.txt", "name Town\n");
        folder_.Write("town/textures/roof.tga", std::string(40000, 'r'));
        folder_.Write("town/textures/wall.tga", std::string(30000, 'w') + "end");
        folder_.Write("town/textures/fine/dot.tga", "dot");
        ASSERT_EQ(std::system(("cd " + folder_.Path("town") +
                               " && " VARCHIVE " -r -k -c a ../Town.va '*' >/dev/null")
                                  .c_str()),
                  0);
    }

    void Damage(const std::string& file, std::size_t at) {
        std::string bytes = folder_.Read(file);
        bytes.at(at) = static_cast<char>(bytes.at(at) ^ 0x40);
        folder_.Write(file, bytes);
    }

    // Offset of a text in the archive's file.
    [[nodiscard]] std::size_t PlaceOf(const std::string& text) {
        return folder_.Read("Town.va").find(text);
    }
};

TEST_F(VaReadsArchives, ListShowsMembersInEveryForm) {
    ExpectAnswers({
        {"list Town.va", 0, "config.txt\n"},
        {"list Town.va config.txt", 0, "config.txt\n"},
        {"list town/", 0,
         "config.txt\ntextures/fine/dot.tga\ntextures/roof.tga\ntextures/wall.tga\n"},
        {"list --sort=size Town.va 'textures/*'", 0, "textures/roof.tga\ntextures/wall.tga\n"},
        {"list Town.va TEXTURES/FINE", 0, "textures/fine/dot.tga\n"},
        {"list Town.va --exclude='**/*.tga'", 0, "config.txt\n"},
        {"list --tree Town.va", 0,
         "textures/  70.0 kB in 3 members\n  fine/  3 B in 1 member\n    dot.tga  3 B\n"},
        {"list --json Town.va config.txt", 0,
         "{\"type\":\"end\",\"members\":1,\"bytes\":10,\"exit\":0}\n"},
        {"list Town.va 'nothing*'", 9, "nothing in 'Town.va' matches 'nothing*'"},
        {"list Nowhere.va", 9, "va: Nowhere.va: there is no such file\n"},
        {"list --files-from=- Town.va < /dev/null", 0, ""},
    });
    EXPECT_THAT(Va("list -l Town.va config.txt").out,
                testing::MatchesRegex(" +10 +10 +100 %  [0-9a-f]+  config.txt\n"));
    EXPECT_EQ(Va("list -0 Town.va config.txt").out, std::string("config.txt\0", 11));
    EXPECT_EQ(Va("list Town.va 'textures/*'", "printf 'ignored' |").out.find("fine"),
              std::string::npos);
    EXPECT_EQ(Va("list --files-from=- -0 Town.va", "printf 'config.txt\\0' |").out,
              std::string("config.txt\0", 11));
    EXPECT_EQ(Names(), "Town.va town ");
}

TEST_F(VaReadsArchives, NamesAreShownSafely) {
    Pack("odd.va", "a", "x");
    std::string bytes = folder_.Read("odd.va");
    for (std::size_t at = bytes.find("a\0"s); at != std::string::npos;
         at = bytes.find("a\0"s, at + 1))
        bytes.replace(at, 3, "\x1B\xE9\x81"s);
    folder_.Write("odd.va", bytes);
    ExpectAnswers({
        {"list odd.va", 0, "\\x1b\xC3\xA9\\x81\n"},
        {"list --json odd.va", 0, "\"name_bytes\":\"G+mB\""},
        {"extract -C out odd.va", 2, "no safe paths"},
        {"test odd.va", 2, "\\x1b"},
    });
    EXPECT_EQ(Va("list -0 odd.va").out, "\x1B\xE9\x81\0"s);
    EXPECT_EQ(Names(), "Town.va odd.va town ");
}

// The archive tool stores the bytes of the system's names; the format has code page 1252.
TEST_F(VaReadsArchives, NamesThatTheArchiveToolStoredInUtf8AreNoted) {
    folder_.Write("new/\xC3\xA4.txt", "x");
    ASSERT_EQ(
        Shell("cd " + folder_.Path("new") + " && " VARCHIVE " -k a ../utf8.va '*' >/dev/null"), 0);
    const std::string note =
        "note: utf8.va: 1 name stored in UTF-8, as VArchive does, such as '\xC3\x83\xC2\xA4.txt' "
        "for '\xC3\xA4.txt'; ";
    ExpectAnswers(
        {{"list utf8.va", 0, note},
         {"compare utf8.va new", 1, note},
         {"create right.va new", 0, "*"},
         {"compare right.va new", 0, "1 same, 0 changed, 0 added, 0 renamed, 0 removed"}});
    EXPECT_EQ(Va("list right.va").err, "");
}

TEST_F(VaReadsArchives, OneOfSeveralFilesThatCannotBeReadEndsNothing) {
    folder_.Write("odd.va", "no archive");
    ExpectAnswers({{"test odd.va Town.va nowhere.va", 2, "Town.va: whole, "},
                   {"test Town.va nowhere.va", 9, "nowhere.va: there is no such file"},
                   {"info nowhere.va Town.va", 9, "Town.va: archive\n"},
                   {"info --json nowhere.va Town.va", 9,
                    R"({"type":"failed","input":"nowhere.va","exit":9,"error":")"}});
}

TEST_F(VaReadsArchives, ExtractWritesWhatWasPackedAndReplacesNothingUnasked) {
    ASSERT_EQ(Va("extract -C out Town.va").exitCode, 0);
    ExpectAnswers({
        {"compare out town", 0, "4 same, 0 changed, 0 added, 0 renamed, 0 removed\n"},
        {"compare Town.va out", 0, "4 same, 0 changed, 0 added, 0 renamed, 0 removed\n"},
        {"extract -C out Town.va", 2, "files exist (-f replaces them): config.txt, "},
        {"extract -q -f -C out Town.va", 0, ""},
        {"extract -C flat --flat Town.va '**/*.tga'", 0, "3 files, 70.0 kB to flat\n"},
        {"extract -C cut --strip=1 Town.va", 0, "3 files"},
        {"extract -n -v -C dry Town.va config.txt", 0,
         "dry/config.txt\nwould write 1 file, 10 B to dry\n"},
        {"extract -n --json Town.va config.txt", 0, "\"path\":\"config.txt\""},
        {"extract --max-bytes=50K -C most Town.va", 2, "more than the 51200 that are allowed"},
        {"extract --json -C json Town.va config.txt", 0,
         "{\"type\":\"extracted\",\"name\":\"config.txt\",\"path\":\"json/"
         "config.txt\",\"size\":10}"},
        {"extract -j8 -C many town", 0, "4 files"},
    });
    EXPECT_TRUE(fs::exists(folder_.Path("flat/dot.tga")));
    EXPECT_TRUE(fs::exists(folder_.Path("cut/fine/dot.tga")));
    EXPECT_FALSE(fs::exists(folder_.Path("dry")));
    EXPECT_FALSE(fs::exists(folder_.Path("most")));
    EXPECT_EQ(Va("compare many town").exitCode, 0);
}

TEST_F(VaReadsArchives, ExtractEndsWith50OnAFullDisk) {
    Pack("noise.va", "noise.bin", Noise(200000));
    fs::create_directory(folder_.Path("disk"));
    if (Shell("mount -t tmpfs -o size=64k none " + folder_.Path("disk")) != 0) {
        GTEST_SKIP() << "needs mount";
    }
    const Outcome run = Va("extract noise.va -C disk");
    EXPECT_EQ(run.exitCode, 50);
    EXPECT_THAT(run.err, HasSubstr("disk: it needs 200000 bytes, and the disk has "));
    EXPECT_TRUE(fs::is_empty(folder_.Path("disk")));
    const Outcome cat = Va("cat noise.va:noise.bin >disk/noise.bin");
    EXPECT_EQ(cat.exitCode, 50);
    EXPECT_THAT(cat.err, HasSubstr("standard output cannot be written"));
    EXPECT_EQ(Shell("umount " + folder_.Path("disk")), 0);
}

TEST_F(VaReadsArchives, ExtractSaysThatAFolderTakesNoFolders) {
    fs::create_directory(folder_.Path("closed"));
    fs::permissions(folder_.Path("closed"), fs::perms(0555));
    // Without its capabilities root is refused as well.
    for (const char* words :
         {"extract -C closed Town.va textures", "extract -n -C closed Town.va textures"}) {
        const Outcome refused = Va(words, R"(setpriv --bounding-set=-all sh -c '"$@"' sh)");
        EXPECT_EQ(refused.exitCode, 2);
        EXPECT_THAT(refused.err, testing::StartsWith("va: cannot create 'closed/textures/"));
        EXPECT_THAT(refused.err, HasSubstr("': Permission denied; make room or look at"));
    }
}

TEST_F(VaReadsArchives, ExtractNeverFollowsALinkAndKeepsAFilesPermissions) {
    folder_.Write("elsewhere/keep", "kept");
    fs::create_directory(folder_.Path("out"));
    fs::create_symlink("../elsewhere", folder_.Path("out/textures"));
    ExpectAnswers({{"extract -f -C out Town.va textures", 2, "a file or a link is in the way"}});
    EXPECT_EQ(std::ranges::distance(fs::directory_iterator(folder_.Path("elsewhere"))), 1);

    fs::create_symlink("../elsewhere/keep", folder_.Path("out/config.txt"));
    ExpectAnswers({{"extract -C out Town.va config.txt", 2, "files exist"},
                   {"extract -f -C out Town.va config.txt", 0, "1 file, 10 B to out\n"}});
    EXPECT_EQ(folder_.Read("elsewhere/keep"), "kept");
    EXPECT_FALSE(fs::is_symlink(folder_.Path("out/config.txt")));

    fs::permissions(folder_.Path("out/config.txt"), fs::perms::owner_read | fs::perms::owner_write);
    ExpectAnswers({{"extract -f -C out Town.va config.txt", 0, "1 file, 10 B to out\n"}});
    EXPECT_EQ(fs::status(folder_.Path("out/config.txt")).permissions(),
              fs::perms::owner_read | fs::perms::owner_write);

    fs::remove(folder_.Path("out/config.txt"));
    fs::create_directory(folder_.Path("out/config.txt"));
    ExpectAnswers({{"extract -f -C out Town.va config.txt", 2,
                    "folders or devices have the names of files: config.txt"}});
}

TEST_F(VaReadsArchives, DamageIsNamedAndNothingDamagedIsWritten) {
    const std::string whole = folder_.Read("Town.va");
    Damage("Town.va", PlaceOf("name Town"));
    ExpectAnswers({
        {"test Town.va", 2, "Town.va: config.txt: "},
        {"cat Town.va:config.txt", 2, "config.txt"},
        {"extract -C out Town.va", 2, "config.txt: "},
        {"extract -C out -f -k Town.va", 1, "3 files"},
        {"compare Town.va town", 2, "config.txt"},
    });
    EXPECT_FALSE(fs::exists(folder_.Path("out/config.txt")));
    EXPECT_TRUE(fs::exists(folder_.Path("out/textures/wall.tga")));

    folder_.Write("Town.va", whole.substr(0, whole.size() - 700));
    ExpectAnswers({
        {"test Town.va", 2, "index"},
        {"list Town.va", 1, "its index is missing or damaged"},
        {"info Town.va", 1, "index           damaged"},
        {"extract -C cut Town.va", 1, "members may be missing"},
    });
    folder_.Write("Town.va", "no archive at all");
    ExpectAnswers({{"list Town.va", 2, "Town.va: "}, {"extract Town.va", 2, "Town.va: "}});
}

TEST_F(VaReadsArchives, CompareNamesEveryKindOfChange) {
    ASSERT_EQ(Va("extract -C new Town.va").exitCode, 0);
    folder_.Write("new/config.txt", "name City\n");
    fs::rename(folder_.Path("new/textures/roof.tga"), folder_.Path("new/top.tga"));
    fs::remove(folder_.Path("new/textures/wall.tga"));
    folder_.Write("new/extra.txt", "more");
    fs::rename(folder_.Path("new/textures/fine/dot.tga"),
               folder_.Path("new/textures/fine/DOT.tga"));
    ExpectAnswers({
        {"compare Town.va new", 1,
         "M\tconfig.txt\nA\textra.txt\nD\ttextures/wall.tga\nR\ttextures/roof.tga\ttop.tga\n"},
        {"compare -v town new", 1, "changed config.txt, 10 B -> 10 B\nadded extra.txt, 4 B\n"},
        {"compare -v --stat town new", 1, "same textures/fine/DOT.tga\n"},
        {"compare --stat Town.va new", 1, "1 same, 1 changed, 1 added, 1 renamed, 1 removed\n"},
        {"compare --json -j1 Town.va new", 1,
         "{\"type\":\"difference\",\"change\":\"renamed\",\"name\":\"top.tga\",\"old_name\":"
         "\"textures/roof.tga\""},
        {"compare town new", 1, "R\ttextures/roof.tga\ttop.tga\n"},
    });
    EXPECT_EQ(Va("compare -j1 Town.va new").out, Va("compare -j7 Town.va new").out);
}

TEST_F(VaReadsArchives, FilesThatCannotBeMembersAreWorthALook) {
    for (int n = 0; n < 12; ++n) folder_.Write("town/odd\n" + std::to_string(n), "no member");
    const std::string warning = "town/odd\\x0a0 has a control byte; skipped\n";
    ExpectAnswers({
        {"list town", 1, warning},
        {"info town", 1, warning},
        {"test town", 1, warning},
        {"sums town", 1, warning},
        {"compare Town.va town", 1, "4 same, 0 changed"},
        {"extract -n -C out town", 1, warning},
        {"overlay Town.va town", 1, "warning: town: 2 more files skipped\n"},
        {"overlay --write=Both.va Town.va town", 1, warning},
        {"list --json town", 1,
         "{\"type\":\"skipped\",\"file\":\"town/odd\\n9\",\"reason\":\"has a control byte\"}\n"},
        {"list town nowhere", 9, "nothing in 'town' matches"},
    });
}

TEST_F(VaReadsArchives, LargeCountsAreShownInGroupsOfDigits) {
    fs::create_directory(folder_.Path("none"));
    for (int n = 0; n < 1011; ++n) {
        folder_.Write("many/" + std::to_string(n), "");
        folder_.Write("odd/\n" + std::to_string(n), "");
    }
    ExpectAnswers({
        {"compare --stat none many", 1, "0 same, 0 changed, 1,011 added, "},
        {"diff -n none many", 0, "0 same  1,011 added\n"},
        {"list odd", 1, "odd: 1,001 more files skipped\n"},
    });
}

TEST_F(VaReadsArchives, ReadersThatGoAwayEndTheRunQuietly) {
    const Outcome outcome = Va(
        "cat Town.va:textures/roof.tga Town.va:textures/wall.tga Town.va:textures/roof.tga | true");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(Va("cat Town.va:config.txt").out, "name Town\n");
    EXPECT_EQ(Va("cat town:config.txt").out, "name Town\n");
    ExpectAnswers({{"cat Town.va", 7, "names no member"},
                   {"cat Town.va:nothing", 9, "there is no member 'nothing'"}});
}

}  // namespace
}  // namespace Vorn::Testing
