#include "platform/posix/PathLookup.h"

#include "platform/Directories.h"
#include "tests/platform/TemporaryFolder.h"

namespace platform {
namespace {

using PathLookup = TemporaryFolder;

TEST_F(PathLookup, ExactNameThenLetterCaseThenNothing) {
    ASSERT_TRUE(MakeDirectory(At("Data").c_str()));
    Put("Data/b.txt", "");
    Put("Data/B.txt", "");
    Put("Data/\xC9t\xE9.TXT", "");
    Put("Data/only", "");
    const struct {
        const char* asked;
        const char* found;
    } rows[] = {
        {"Data/b.txt", "Data/b.txt"},
        {"Data/B.txt", "Data/B.txt"},
        {"data/b.TXT", "Data/B.txt"},  // the first in byte order
        {"DATA\\ONLY", "Data/only"},
        {"data//only", "Data//only"},
        {"data/./../dAtA/only", "Data/./../Data/only"},
        {"data/\xE9T\xC9.txt", "Data/\xC9t\xE9.TXT"},
        {"data/only/", "Data/only/"},
        {"data/onl", "data/onl"},
        {"data/absent\\b.txt", "data/absent/b.txt"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.asked);
        EXPECT_EQ(posix::FindExistingPath(At(row.asked).c_str()), At(row.found));
    }
    EXPECT_FALSE(Exists(At("data/only/").c_str()));  // not a folder
    EXPECT_FALSE(Exists(At("data/onl").c_str()));
    EXPECT_FALSE(Exists(""));
}

TEST_F(PathLookup, RelativePathsAndLongOnes) {
    Put("Name", "12345");
    const std::string before = CurrentDirectory();
    ASSERT_TRUE(ChangeDirectory(folder_.c_str()));
    FileStatus status;
    EXPECT_TRUE(GetStatus("nAME", status));
    EXPECT_EQ(status.size, 5u);
    EXPECT_TRUE(GetStatus(".\\nAME", status));
    std::string dots;
    for (int i = 0; i < 1000; ++i) {
        dots += "./";
    }
    EXPECT_TRUE(Exists((dots + "name").c_str()));
    EXPECT_TRUE(ChangeDirectory(before.c_str()));
}

}  // namespace
}  // namespace platform
