#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

// An archive with one damaged member, one without its tail, and a good copy of both.
class VaRepair : public VaProgram {
protected:
    void SetUp() override {
        folder_.Write("town/config.txt", "name Town\n");
        folder_.Write("town/map.txt", Prose(30000));
        folder_.Write("town/wall.tga", Noise(20000));
        ASSERT_EQ(Va("create -q Good.va town").exitCode, 0);
        good_ = folder_.Read("Good.va");
        std::string bytes = good_;
        bytes.at(bytes.find("name Town")) = 'N';
        folder_.Write("Bad.va", bytes);
        folder_.Write("Cut.va", good_.substr(0, good_.rfind("FIL ") + 400));
        folder_.Write("Noise.va", Noise(9000));
        names_ = Names();
    }

    std::string good_;
    std::string names_;
};

TEST_F(VaRepair, SaysWhatIsSavedAndWhatIsNot) {
    ExpectAnswers({
        {"repair Good.va -o Out.va", 0, "Out.va: 3 members saved, 0 lost, "},
        {"repair -v -n Good.va -o New.va", 0, "saved map.txt\n"},
        {"repair Bad.va -o Bad-out.va", 1,
         "lost config.txt: its content disagrees with its check sum\n"},
        {"repair -qq Cut.va -o Cut-out.va", 1, "lost wall.tga: its data reaches past the end"},
        {"repair -n Cut.va -o New.va", 1, "its index is destroyed or damaged"},
        {"repair Noise.va -o New.va", 2,
         "Noise.va: there is nothing to save in it; '--from' takes members from a good copy\n"},
        {"repair Bad.va -o From.va --from=town", 0, "copied config.txt\n"},
        {"repair Cut.va -o From2.va --from Good.va", 0,
         "From2.va: 3 members saved, 1 of them copied, 0 lost"},
        {"test Out.va Bad-out.va Cut-out.va From.va From2.va", 0, "*"},
    });
    EXPECT_EQ(folder_.Read("Out.va"), good_);
    EXPECT_EQ(folder_.Read("From.va"), good_);
    EXPECT_EQ(Names(),
              "Bad-out.va Bad.va Cut-out.va Cut.va From.va From2.va Good.va Noise.va Out.va town ");
    EXPECT_EQ(Shell("cd " + folder_.Path() +
                    " && mkdir x && cd x && " VARCHIVE
                    " e ../Bad-out.va >/dev/null && cmp map.txt ../town/map.txt"),
              0);
}

TEST_F(VaRepair, NeverInPlaceAndNeverOverAFile) {
    ExpectAnswers({
        {"repair Bad.va", 7, "a repaired archive needs a file of its own; name it with -o\n"},
        {"repair Bad.va -o -", 7, "name it with -o\n"},
        {"repair Bad.va -f -o ./Bad.va", 2, "./Bad.va is one of the inputs"},
        {"repair Bad.va -f -o Good.va --from=Good.va", 2, "Good.va is one of the inputs"},
        {"repair Bad.va -o Cut.va", 2, "Cut.va exists; -f replaces it"},
        {"repair -n Bad.va -o Cut.va", 2, "Cut.va exists; -f replaces it"},
        {"repair Nowhere.va -o Out.va", 9, "Nowhere.va: there is no such file\n"},
        {"repair Bad.va -o Out.va --from=nowhere", 9, "nowhere"},
        {"repair town -o Out.va", 2, "town: it is not a file, or cannot be opened for reading"},
    });
    EXPECT_EQ(Names(), names_);
    ExpectAnswers({{"repair -f Bad.va -o Cut.va", 1, "2 members saved"}});
}

TEST_F(VaRepair, FullDiskIsFoundBeforeTheWork) {
    fs::create_directory(folder_.Path("disk"));
    if (Shell("cd " + folder_.Path() + " && mount -t tmpfs -o size=16k none disk 2>/dev/null") !=
        0) {
        GTEST_SKIP() << "needs mount";
    }
    ExpectAnswers({{"repair Bad.va -o disk/Out.va", 50, "make room, or name another disk"}});
    EXPECT_EQ(Shell("cd " + folder_.Path() + " && test -z \"$(ls -A disk)\" && umount disk"), 0);
}

// Parts of the file that the disk does not give back count as damaged, and the rest is saved.
TEST_F(VaRepair, DiskThatCannotReadAPart) {
    if (VORN_SANITIZED || Shell("strace -o /dev/null true 2>/dev/null") != 0) {
        GTEST_SKIP() << "needs strace, in a build without a sanitizer";
    }
    int lost = 0;
    for (int nth = 1; nth <= 12; ++nth) {
        SCOPED_TRACE(nth);
        const int code =
            Shell("cd " + folder_.Path() +
                  " && strace -o /dev/null -P Good.va -e inject=pread64:error=EIO:when=" +
                  std::to_string(nth) + ".." + std::to_string(nth + 1) +
                  " " VA " repair -qq -f -j1 Good.va -o Out.va >/dev/null 2>&1");
        EXPECT_LE(code, 2);
        lost += code == 1 ? 1 : 0;
        if (fs::exists(folder_.Path("Out.va"))) {
            EXPECT_EQ(Va("test -q Out.va").exitCode, 0);
        }
    }
    EXPECT_GT(lost, 0);
}

}  // namespace
}  // namespace Vorn::Testing
