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

TEST_F(VaSums, NothingIsSaidAboutDamagedMembers) {
    std::string bytes = folder_.Read("Town.va");
    bytes.at(bytes.find("sub/z", bytes.find("sub/z") + 5)) ^= 1;
    folder_.Write("Bad.va", bytes);
    ExpectAnswers({{"sums Bad.va", 2, "sub/z: "},
                   {"sums Nowhere.va", 9, "Nowhere.va"},
                   {"sums", 7, "ARCHIVE is missing"}});
    folder_.Write("Cut.va", folder_.Read("Town.va").substr(0, bytes.size() - 500));
    ExpectAnswers({{"sums Cut.va", 1, "members may be missing"}});
}

}  // namespace
}  // namespace Vorn::Testing
