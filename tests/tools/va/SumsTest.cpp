#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

class VaSums : public VaProgram {
protected:
    void SetUp() override {
        for (const std::string name : {"b.txt", "a b.txt", "C.txt", "sub/z"})
            folder_.Write("town/" + name, name);
        folder_.Write("town/large", Prose(100000));
        ASSERT_EQ(Shell("cd " + folder_.Path("town") +
                        " && " VARCHIVE " -r -k -c a ../Town.va '*' >/dev/null"),
                  0);
    }
};

TEST_F(VaSums, Sha256sumAcceptsThemForWhatWasExtracted) {
    const std::string sums = Va("sums Town.va").out;
    EXPECT_EQ(Va("sums -j1 town").out, sums);
    EXPECT_LT(sums.find("C.txt"), sums.find("a b.txt")) << "in byte order";
    folder_.Write("Town.sums", sums);
    ASSERT_EQ(Va("extract -C out Town.va").exitCode, 0);
    EXPECT_EQ(Shell("cd " + folder_.Path("out") +
                    " && sha256sum --strict -c ../Town.sums"
                    " >/dev/null"),
              0);
    ASSERT_EQ(Shell("sha256sum " + folder_.Path("Town.sums") + " >" + folder_.Path("of-all")), 0);
    const std::string all = folder_.Read("of-all").substr(0, 64);
    ExpectAnswers({{"sums Town.va", 0, "5 members, 100 kB, sha256 " + all},
                   {"sums --json town", 0, "\"bytes\":100022,\"sha256\":\"" + all + "\""}});
}

TEST_F(VaSums, NamesThatAreNotAsciiAreUtf8) {
    folder_.Write("town/\xC3\xA4.txt", "");
    ASSERT_EQ(Shell("cd " + folder_.Path("town") + " && sha256sum \xC3\xA4.txt >../one"), 0);
    EXPECT_THAT(Va("sums town").out, testing::EndsWith(folder_.Read("one")));
}

// Code page 1252 does not define some bytes. They are characters that terminals may obey, and
// sha256sum needs the names of the files.
TEST_F(VaSums, ControlCharactersStayInFilesAndNeverReachATerminal) {
    folder_.Write("odd/a\xC2\x9D.txt", "");
    ASSERT_EQ(Shell("cd " + folder_.Path("odd") + " && sha256sum * >../one"), 0);
    EXPECT_EQ(Va("sums -q odd").out, folder_.Read("one"));
    EXPECT_THAT(Va("sums --json odd").out, HasSubstr(R"("name":"a\u009d.txt")"));
    if (Shell("script -V >/dev/null 2>&1") != 0) GTEST_SKIP() << "needs script";
    ASSERT_EQ(Shell("cd " + folder_.Path() + " && script -qec '" VA " sums odd' shown >/dev/null"),
              0);
    EXPECT_THAT(folder_.Read("shown"), HasSubstr("  a\\x9d.txt\r\n"));
}

TEST_F(VaSums, VerifyJudgesByAFileOfThem) {
    folder_.Write("Town.sums", Va("sums Town.va").out);
    ASSERT_EQ(Shell("cd " + folder_.Path("town") +
                    " && find . -type f | xargs -d '\\n' sha256sum"
                    " | sed 's/$/\\r/' >../found.sums"),
              0);
    ExpectAnswers({
        {"verify Town.va Town.sums", 0, "Town.va: matches Town.sums\n"},
        {"verify town Town.sums", 0, "town: matches Town.sums\n"},
        {"verify Town.va found.sums", 0, "Town.va: matches found.sums\n"},
        {"verify Town.va - <found.sums", 0, "Town.va: matches -\n"},
        {"verify Town.sums town", 0, "town: matches Town.sums\n"},
        {"verify - Town.va <found.sums", 0, "Town.va: matches -\n"},
        {"verify -v Town.va Town.sums", 0, "same C.txt\nsame a b.txt\n"},
        {"verify nowhere Town.sums", 9, "nowhere"},
    });
    // Nothing is listed of nothing; an empty archive is a download that failed.
    std::filesystem::create_directory(folder_.Path("empty"));
    folder_.Write("empty.sums", Va("sums empty").out);
    folder_.Write("empty.va", "");
    ExpectAnswers({
        {"verify empty empty.sums", 0, "empty: matches empty.sums\n"},
        {"verify Town.va empty.sums", 2, "empty.sums is empty; make it with 'va sums'"},
        {"verify Town.va empty.va", 2, "download it again"},
    });
    folder_.Write("town/b.txt", "B.txt");
    folder_.Write("town/more", "");
    std::filesystem::remove(folder_.Path("town/C.txt"));
    ExpectAnswers({
        {"verify town Town.sums", 1,
         "C.txt: missing\nb.txt: differs\nmore: unlisted\n"
         "va: town does not match Town.sums: 3 differences\n"},
    });
    folder_.Write("odd.sums", "\\" + std::string(64, '0') + " *a\\x1b\\nb\n");
    ExpectAnswers({{"verify town odd.sums", 1, "a\\x1b\\x0ab: missing\n"}});
    folder_.Write("bad.sums", folder_.Read("Town.sums") + "sha256\n");
    ExpectAnswers({{"verify town bad.sums", 2, "bad.sums: line 6 is not a line of sha256sum"}});
}

// Twins: the file system tells them apart, and an archive does not.
TEST_F(VaSums, NamesThatDifferInLetterCaseOnlyAreNeverDropped) {
    folder_.Write("a/X", "1");
    folder_.Write("a/x", "2");
    folder_.Write("b/X", "1");
    folder_.Write("b/x", "3");
    folder_.Write("a.sums", Va("sums a").out);
    const std::string refused =
        "several members have one name, letter case ignored; rename or "
        "delete all but one of each: X and x";
    ExpectAnswers({
        {"compare a b", 2, refused},
        {"compare town a", 2, refused},
        {"overlay town a", 2, refused},
        {"overlay --write=m.va a town", 2, refused},
        {"test a", 2, "a: x: its name is that of 'X', letter case ignored; rename one of them"},
        {"cat a:x", 0, "2"},
        {"verify a a.sums", 0, "a: matches a.sums\n"},
        {"verify b a.sums", 1, "x: differs\nva: b does not match a.sums: 1 difference\n"},
    });
    std::filesystem::remove(folder_.Path("b/X"));
    ExpectAnswers({{"verify b a.sums", 1, "X: differs\nx: differs\n"}});
}

TEST_F(VaSums, NothingIsSaidAboutDamagedMembers) {
    std::string bytes = folder_.Read("Town.va");
    bytes.at(bytes.find("sub/z", bytes.find("sub/z") + 5)) ^= 1;
    folder_.Write("Bad.va", bytes);
    ExpectAnswers({{"sums Bad.va", 2, "sub/z: "},
                   {"sums Nowhere.va", 9, "Nowhere.va"},
                   {"sums", 7, "ARCHIVE is missing"}});
    folder_.Write("Cut.va", folder_.Read("Town.va").substr(0, bytes.size() - 500));
    ExpectAnswers({{"sums Cut.va", 1, "members may be missing"},
                   {"info Cut.va", 1, "members may be missing"},
                   {"info --json Cut.va", 1, "members may be missing"},
                   {"compare Cut.va Cut.va", 1, "members may be missing"}});
}

}  // namespace
}  // namespace Vorn::Testing
