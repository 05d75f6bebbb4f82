#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

// An archive with dead bytes and members out of order, and the one that its content gives.
class VaRepack : public VaProgram {
protected:
    void SetUp() override {
        for (const char* name : {"Wall.tga", "config.txt", "maps/one.txt", "Zoo/a.txt"}) {
            folder_.Write("town/"s + name, Prose(4000 + std::string_view(name).size() * 3000));
        }
        folder_.Write("town/noise.bin", Noise(70000));
        folder_.Write("town/empty", "");
        ASSERT_EQ(InFolder("cd town && " VARCHIVE " -P -k a ../Town.va ./Wall.tga && " VARCHIVE
                           " -r -P -k a ../Town.va './*'"),
                  0);
        ASSERT_EQ(Va("create -q Fresh.va town").exitCode, 0);
        old_ = folder_.Read("Town.va");
        fresh_ = folder_.Read("Fresh.va");
        ASSERT_GT(old_.size(), fresh_.size());
    }

    [[nodiscard]] int InFolder(const std::string& command) const {
        return Shell("cd " + folder_.Path() + " && { " + command + "; } >/dev/null 2>&1");
    }
    std::string old_;
    std::string fresh_;
};

TEST_F(VaRepack, SameMembersGiveTheSameBytes) {
    ExpectAnswers({
        {"repack -n Town.va", 0, "would write Town.va: 6 members ("},
        {"repack Town.va -o Out.va", 0, "saved ("},
        {"repack Town.va -o Out.va", 2, "Out.va exists; -f replaces it"},
        {"repack -f -j3 Town.va -o Out.va", 0, "Out.va: 6 members, "},
        {"repack Town.va -o Town.va", 2, "Town.va is one of the inputs"},
        {"repack Town.va -o -", 7, "cannot be written to standard output"},
    });
    EXPECT_TRUE(folder_.Read("Out.va") == fresh_);
    EXPECT_TRUE(folder_.Read("Town.va") == old_);
    ExpectAnswers({{"repack -q --compress=none Out.va -o Plain.va", 0, ""},
                   {"repack -q Plain.va", 0, ""},
                   {"repack -v Town.va", 0, "packed maps/one.txt\n"}});
    EXPECT_TRUE(folder_.Read("Plain.va") == fresh_);
    EXPECT_TRUE(folder_.Read("Town.va") == fresh_);
}

TEST_F(VaRepack, KeepsVersionsPermissionsAndLinks) {
    ExpectAnswers({{"create -q --build-version=7 --product-code=9 V.va town", 0, ""}});
    const std::string versioned = folder_.Read("V.va");
    ASSERT_EQ(InFolder("(cd town && " VARCHIVE " -r -P -k a ../V.va ./config.txt) && "
                       "chmod 640 V.va && ln -s V.va link.va"),
              0);
    ExpectAnswers({{"repack -q link.va", 0, ""}});
    EXPECT_EQ(InFolder("test -L link.va && test $(stat -c %a V.va) = 640"), 0);
    EXPECT_TRUE(folder_.Read("V.va") == versioned);
}

TEST_F(VaRepack, RefusesWhatIsDamagedAndNamesIt) {
    std::string bytes = old_;
    bytes.at(bytes.rfind("fox", bytes.rfind("IDX "))) = 'F';
    const std::size_t noise = bytes.rfind("noise.bin", bytes.rfind("IDX "));
    bytes.at(noise + 1000) ^= 1;
    folder_.Write("Bad.va", bytes);
    folder_.Write("Cut.va", old_.substr(0, old_.size() - 400));
    for (const char* options : {"", "-n "}) {
        const Outcome outcome = Va("repack "s + options + "Bad.va");
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_THAT(outcome.err, HasSubstr("Bad.va is damaged: "));
        EXPECT_THAT(outcome.err, HasSubstr("noise.bin (its content disagrees with its check sum)"));
        EXPECT_THAT(outcome.err, HasSubstr("; run 'va repair' to save what is intact\n"));
    }
    ExpectAnswers({
        {"repack Cut.va", 2, "Cut.va: its index is missing or damaged; run 'va repair' to save"},
        {"repack town", 2, "town is a folder; 'va create' makes an archive of it"},
        {"repack Nowhere.va", 9, "there is no such file"},
    });
    EXPECT_TRUE(folder_.Read("Bad.va") == bytes);
}

TEST_F(VaRepack, FullDiskLeavesTheArchive) {
    fs::create_directory(folder_.Path("disk"));
    if (InFolder("mount -t tmpfs -o size=" + std::to_string(old_.size() / 1024 + 40) +
                 "k none disk && cp Town.va disk") != 0) {
        GTEST_SKIP() << "needs mount";
    }
    EXPECT_EQ(Va("repack disk/Town.va").exitCode, 50);
    EXPECT_TRUE(folder_.Read("disk/Town.va") == old_);
    EXPECT_EQ(InFolder("test \"$(ls -A disk)\" = Town.va"), 0);
    EXPECT_EQ(InFolder("umount disk"), 0);
}

TEST_F(VaRepack, SaysWhatItWouldDoAndWhatItReplaced) {
    ASSERT_EQ(InFolder("ln -s nowhere link.va && : > .Out.va.va-123456"), 0);
    const std::string before = Names();
    ExpectAnswers({
        {"repack -n Town.va", 0, "would write Town.va: 6 members (28"},
        {"repack -n Town.va -o link.va", 2, "link.va exists; -f replaces it"},
        {"repack -nf Town.va -o link.va", 0, "link.va is a link; it would be replaced"},
    });
    EXPECT_EQ(Names(), before);
    EXPECT_TRUE(folder_.Read("Town.va") == old_);
    ExpectAnswers({
        {"repack -f Town.va -o link.va", 0, "link.va was a link; it was replaced"},
        {"repack Town.va -o Out.va", 0, "removed .Out.va.va-123456, left by a run that was killed"},
        {"repair -f Town.va -o link.va", 0, "*"},
    });
    EXPECT_TRUE(folder_.Read("Out.va") == fresh_);
    EXPECT_EQ(InFolder("ls .Out.va.va-* || test -L link.va"), 1);
}

}  // namespace
}  // namespace Vorn::Testing
