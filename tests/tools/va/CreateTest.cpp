#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

class VaCreate : public VaProgram {
protected:
    void SetUp() override {
        folder_.Write("in/config.txt", "name Town\n");
        folder_.Write("in/sub/Wall.tga", Prose(40000));
        folder_.Write("in/sub/noise.bin", Noise(5000));
        folder_.Write("in/empty", "");
        folder_.Write("in/large", Prose(2'500'000));
    }
};

TEST_F(VaCreate, MakesWhatAllProgramsRead) {
    ExpectAnswers({
        {"create -n Town.va in", 0, "added sub/Wall.tga\nwould write Town.va: 5 members, 2.5 MB\n"},
        {"test Town.va", 9, "*"},
        {"create --build-version=12 --product-code=34 Town.va in", 0,
         "Town.va: 5 members, 2.5 MB in "},
        {"test Town.va", 0, "whole, 5 members"},
        {"info Town.va", 0, "12"},
        {"compare Town.va in", 0, "5 same"},
        {"create Town.va in", 2, "Town.va exists; -f replaces it"},
        {"create -f -q Town.va in", 0, ""},
        {"create -v --compress=none Plain.va in", 0, "added config.txt\nadded empty\n"},
        {"create --json -n J.va in", 0, "{\"type\":\"added\",\"name\":\"empty\",\"size\":0}\n"},
        {"create --exclude='**/*.tga' --exclude=large Some.va in in/config.txt", 2,
         "config.txt and config.txt"},
        {"create --exclude='**/*.tga' --exclude=large Some.va in", 0, "Some.va: 3 members"},
        {"create One.va in/sub in/config.txt", 0, "One.va: 3 members"},
        {"list One.va", 0, "config.txt\nnoise.bin\nWall.tga\n"},
        {"create - in", 7, "cannot be written to standard output"},
        {"create None.va nowhere", 9, "nowhere: there is no such file"},
        {"create in/x.va in", 2, "lies below the input folder in"},
        {"create --compress=some X.va in", 7, "takes one of"},
        {"create Town.va", 7, "PATH is missing"},
    });
    EXPECT_LT(folder_.Read("Town.va").size(), folder_.Read("Plain.va").size() / 2);
    EXPECT_EQ(Shell("cd " + folder_.Path() +
                    " && mkdir out && cd out && " VARCHIVE
                    " -r -P -k e ../Town.va '*' >/dev/null && diff -r . ../in"),
              0);
}

TEST_F(VaCreate, NeitherTimesNorMaskNorWorkersNorPlacesShow) {
    ASSERT_EQ(Va("create -j1 Town.va in").exitCode, 0);
    ASSERT_EQ(Shell("cd " + folder_.Path() +
                    " && mkdir -p a/sub b && touch -t 200101010101 in/sub/* && mv in/large b && "
                    "cp in/sub/* a/sub && rm -r in/sub && chmod 600 in/config.txt"),
              0);
    ASSERT_EQ(Va("create -j3 Again.va b a in", "umask 077;").exitCode, 0);
    EXPECT_TRUE(folder_.Read("Town.va") == folder_.Read("Again.va"));
}

TEST_F(VaCreate, RefusesWhatItWouldLoseAndSkipsWhatIsNoContent) {
    const std::string before = Names();
    ASSERT_EQ(Shell("cd " + folder_.Path() + "/in && ln -s config.txt link && mkfifo pipe"), 0);
    ExpectAnswers({{"create Town.va in", 1, "warning: in/pipe is not a regular file; skipped\n"}});
    EXPECT_EQ(Va("list Town.va").out, "config.txt\nempty\nlarge\nsub/noise.bin\nsub/Wall.tga\n");
    fs::remove(folder_.Path("Town.va"));
    folder_.Write("in/\xD0\xB6.txt", "lost");
    folder_.Write("in/\xD0\xB6/x.txt", "lost too");
    folder_.Write("in/CONFIG.txt", "another");
    const Outcome refused = Va("create Town.va in");
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_THAT(refused.err,
                HasSubstr("no archive can hold these; rename or split them: in/\xD0\xB6 "));
    EXPECT_THAT(refused.err,
                HasSubstr("in/\xD0\xB6.txt has a name that code page 1252 cannot hold"));
    EXPECT_EQ(Va("create -n Town.va in").err, refused.err);
    fs::remove_all(folder_.Path("in/\xD0\xB6.txt"));
    fs::remove_all(folder_.Path("in/\xD0\xB6"));
    ExpectAnswers({{"create Town.va in", 2, "CONFIG.txt and config.txt"}});
    EXPECT_EQ(Names(), before);
}

}  // namespace
}  // namespace Vorn::Testing
