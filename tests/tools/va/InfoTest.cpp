#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

class VaInfo : public VaProgram {
protected:
    void SetUp() override {
        Pack("old.va", "sign.txt", "name Town\n");
        folder_.Write("new/sign.txt", "name City\n");
        folder_.Write("note", "Repainted.\nTwice.");
    }

    // The digest in the summary of va sums.
    [[nodiscard]] std::string ContentOf(const std::string& side) const {
        const std::string said = Va("sums " + side).err;
        return said.substr(said.find("sha256 ") + 7, 64);
    }
};

TEST_F(VaInfo, TellsTheDigestOfTheContent) {
    ExpectAnswers({
        {"info old.va", 0,
         "old.va: archive\n  members         1\n  content         10 B\n"
         "  sha256          " +
             ContentOf("old.va") + "\n"},
        {"info new", 0, "sha256          " + ContentOf("new")},
        {"info --json old.va", 0, "\"sha256\":\"" + ContentOf("old.va") + "\""},
        {"info old.va nowhere.va", 9, "nowhere.va"},
    });
    std::string bytes = folder_.Read("old.va");
    bytes.at(bytes.find("name Town")) = 'g';
    folder_.Write("bad.va", bytes);
    const Outcome bad = Va("info bad.va");
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_THAT(bad.err, HasSubstr("warning: bad.va: sign.txt: "));
    EXPECT_EQ(bad.out.find("sha256"), std::string::npos);
    EXPECT_THAT(bad.out, HasSubstr("index           whole\n"));
}

TEST_F(VaInfo, TellsWhatAPatchSaysAboutItself) {
    ASSERT_EQ(Va("diff old.va new -o p.va --note=note").exitCode, 0);
    const std::string told = Va("info p.va").out;
    EXPECT_THAT(told, HasSubstr("p.va: patch archive\n"));
    EXPECT_THAT(told, HasSubstr("  old side        1 member, 10 B, sha256 " + ContentOf("old.va")));
    EXPECT_THAT(told, HasSubstr("  new side        1 member, 10 B, sha256 " + ContentOf("new")));
    EXPECT_THAT(told, HasSubstr("  result          new.va\n"));
    EXPECT_THAT(told, HasSubstr("  note            Repainted.\n                  Twice.\n"));
}

TEST_F(VaInfo, NamesFilesThatAreNoArchives) {
    folder_.Write("a.im", "CFIL\1\1\0\0\x88\x13\0\0rest"s);
    folder_.Write("config.txt", "name Town\nsize 5\n");
    folder_.Write("wall.png", "\x89PNG\r\n\x1A\n...."s);
    folder_.Write("wall.diff", "V\xD0\5\2" + std::string(12, '\0') + "fresh!");
    folder_.Write("noise", Noise(100));
    folder_.Write("readme.md", "words");
    folder_.Write("empty", "");
    folder_.Write("cut.va", "ArcH");
    ExpectAnswers({
        {"info a.im", 0,
         "a.im: a compressed file\n  content         5.0 kB\n  file            16 B\n"},
        {"info config.txt", 0, "config.txt: a description (text)\n  file            17 B\n"},
        {"info wall.png", 0, "wall.png: a picture (PNG)\n"},
        {"info wall.diff", 0, "wall.diff: a diff\n  made from       5 B\n  gives           6 B\n"},
        {"info readme.md", 2, "readme.md: its kind is unknown: it is not an archive, patch, "},
        {"info noise", 2, "if it should be one of these, copy or download it again\n"},
        {"info empty", 2, "empty: its kind is unknown"},
        {"info cut.va", 2, "cut.va: it has no header"},
    });
}

}  // namespace
}  // namespace Vorn::Testing
