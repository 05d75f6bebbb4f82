#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

// A base archive, a mod that hides two of its members (one with the same content), and a folder.
class VaOverlay : public VaProgram {
protected:
    void SetUp() override {
        folder_.Write("base/config.txt", "name Town\n");
        folder_.Write("base/same.txt", "equal");
        folder_.Write("base/large.tga", std::string(40000, 'r'));
        folder_.Write("mod/Config.txt", "name City\n");
        folder_.Write("mod/same.txt", "equal");
        folder_.Write("mod/noise.bin", Noise(5000));
        folder_.Write("edits/large.tga", std::string(40000, 'x'));
        folder_.Write("edits/same.txt", "equal");
        for (const std::string name : {"base", "mod"}) {
            ASSERT_EQ(Shell("cd " + folder_.Path(name) + " && " VARCHIVE " -r -k -c a ../" + name +
                            ".va '*' >/dev/null"),
                      0);
        }
    }

    [[nodiscard]] std::string Contents(const std::string& side) const {
        const Outcome sums = Va("sums -q " + side);
        EXPECT_EQ(sums.exitCode, 0) << sums.err;
        return sums.out;
    }
};

TEST_F(VaOverlay, TheLastOneWins) {
    EXPECT_EQ(Va("overlay base.va mod.va edits").out,
              "mod.va\tConfig.txt\thides base.va\n"
              "edits\tlarge.tga\thides base.va\n"
              "mod.va\tnoise.bin\n"
              "edits\tsame.txt\thides base.va, mod.va\n");
    ExpectAnswers({
        {"overlay base.va mod.va edits", 0, "4 members, 2 conflicts\n"},
        {"overlay --conflicts base.va mod.va edits", 1,
         "mod.va\tConfig.txt\thides base.va\nedits\tlarge.tga\thides base.va\n4 members"},
        {"overlay --conflicts mod.va base.va", 1, "base.va\tconfig.txt\thides mod.va\n"},
        {"overlay --conflicts base base.va", 0, "3 members, 0 conflicts\n"},
        {"overlay base.va", 0, "base.va\tconfig.txt\n"},
        {"overlay base.va nowhere.va", 9, "nowhere.va"},
        {"overlay", 7, "ARCHIVE is missing"},
        {"overlay --json base.va mod.va", 0,
         "{\"type\":\"overlaid\",\"name\":\"Config.txt\",\"from\":\"mod.va\",\"size\":10,"
         "\"hidden\":1,\"conflict\":true}\n{\"type\":\"hidden\",\"name\":\"config.txt\",\"from\":"
         "\"base.va\",\"size\":10}\n"},
    });
}

TEST_F(VaOverlay, WritesWhatWins) {
    ExpectAnswers({
        {"overlay -n --write=Out.va base.va mod.va edits", 0, "would write Out.va: 4 members\n"},
        {"overlay --write=Out.va base.va mod.va edits", 0, "Out.va: 4 members, "},
        {"test Out.va", 0, "whole, 4 members"},
        {"overlay --write Out.va mod.va base.va", 2, "Out.va exists; -f replaces it"},
        {"overlay -n --write Out.va mod.va base.va", 2, "Out.va exists; -f replaces it"},
        {"overlay -f --write ./mod.va mod.va base.va", 2, "./mod.va is one of the inputs"},
        {"overlay --write mod/x.va mod base.va", 2, "mod/x.va lies below the input folder mod "},
        {"overlay --write=- mod.va base.va", 7, "cannot be written to standard output"},
        {"overlay --write mod mod.va base.va", 2, "mod: a folder or device has this name"},
        {"overlay --write nowhere/Out.va mod.va base.va", 9, "no such folder"},
    });
    folder_.Write("want/Config.txt", "name City\n");
    folder_.Write("want/same.txt", "equal");
    folder_.Write("want/large.tga", std::string(40000, 'x'));
    folder_.Write("want/noise.bin", Noise(5000));
    EXPECT_EQ(Contents("Out.va"), Contents("want"));
    const std::string list = Va("list --json Out.va").out;
    EXPECT_THAT(list, HasSubstr("\"large.tga\",\"size\":40000,\"stored\":"));
    EXPECT_LT(folder_.Read("Out.va").size(), 15000U) << "what a folder has is compressed";

    const std::string first = folder_.Read("Out.va");
    ExpectAnswers({{"overlay -f --write Out.va base.va mod.va edits", 0, "*"}});
    EXPECT_EQ(folder_.Read("Out.va"), first) << "the same input gives the same bytes";
}

TEST_F(VaOverlay, NothingIsLeftOfAMergeThatFails) {
    std::string bytes = folder_.Read("base.va");
    bytes.at(bytes.find("equal")) = 'E';
    folder_.Write("bad.va", bytes);
    folder_.Write("cut.va", bytes.substr(0, bytes.size() - 500));
    const std::string before = Names();
    ExpectAnswers({
        {"overlay --write=Out.va bad.va", 2, "Out.va was not written: same.txt: "},
        {"overlay --write=Out.va cut.va mod.va", 2, "an archive may lack members"},
        {"overlay cut.va mod.va", 1, "members may be missing"},
    });
    EXPECT_EQ(Names(), before);
}

}  // namespace
}  // namespace Vorn::Testing
