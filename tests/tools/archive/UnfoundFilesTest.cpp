// What the archive program says of files that its command lines name and that it cannot reach or
// read.
#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

class UnfoundFiles : public InFolder {
protected:
    // The exit code of the program; what it says is in the file "said" afterwards.
    [[nodiscard]] static int Run(const std::string& words) {
        return Shell(VARCHIVE " " + words + " >said 2>&1");
    }
};

TEST_F(UnfoundFiles, NamesThatDifferInLetterCaseOnlyAreReported) {
    for (const char* name : {"d/README", "d/Readme", "d/Sub/x", "d/sub/y"}) folder.Write(name, "");
    // The words, the exit code, the names that are told to be left out.
    const Table<std::string, int, std::vector<std::string>> rows = {
        {"a x.va 'd/*'", 1, {"d/Readme"}},
        {"-r a x.va 'd/*'", 1, {"d/Readme", "d/sub"}},
        {"-r a x.va 'd/x'", 1, {"d/sub"}},
        {"a x.va d/README", 0, {}},
        {"a x.va d/Readme", 1, {"d/Readme"}},
        {"-xREAD* -k a x.va 'd/Sub/*' 'd/*'", 0, {}},
        {"l x.va", 0, {}},
    };
    for (const auto& [words, code, names] : rows) {
        SCOPED_TRACE(words);
        EXPECT_EQ(Run(words), code);
        const std::string said = folder.Read("said");
        for (const std::string name : {"d/Readme", "d/sub"}) {
            const bool told = said.find("left out " + name + ",") != std::string::npos;
            EXPECT_EQ(told, std::ranges::count(names, name) == 1) << name << " in " << said;
        }
    }
}

TEST_F(UnfoundFiles, LinesBehindTheTargetFindNothingAndTheCommandGoesOn) {
    folder.Write("a.txt", "1");
    folder.Write("paths", "a.txt\n*\n");
    ASSERT_EQ(Run("a x.va a.txt"), 0);
    EXPECT_EQ(Run("l x.va @paths"), 1);
    const std::string said = folder.Read("said");
    for (const char* line :
         {"no input files found: command 'a.txt\n", "command '*\n", "\\a.txt\n"}) {
        EXPECT_THAT(said, HasSubstr(line));
    }
}

TEST_F(UnfoundFiles, AFileWhoseBlocksCannotBeReadIsNamed) {
    folder.Write("bad", "CFIL\1\1\0\0\xFF\xFF\0\0\xFF\xFF"s + Noise(100));
    ASSERT_EQ(Run("a x.va bad"), 0);
    EXPECT_EQ(Run("b x.va bad"), 1);
    EXPECT_THAT(folder.Read("said"), HasSubstr("VArchive: cannot read all of .\\bad\n"));
}

}  // namespace
}  // namespace Vorn::Testing
