#include "platform/posix/PathLookup.h"

#include "platform/Directories.h"
#include "tests/support/Tests.h"

namespace platform {
namespace {

using namespace Vorn::Testing;

using PathLookup = InFolder;

TEST_F(PathLookup, ExactNameThenLetterCaseThenNothing) {
    for (const char* name : {"b.txt", "B.txt", "\xC9t\xE9.TXT", "only"}) {
        folder.Write("Data/"s + name, "12345");
    }
    // The third: of several, the first in byte order.
    for (const std::string row :
         {"Data/b.txt|Data/b.txt", "Data/B.txt|Data/B.txt", "data/b.TXT|Data/B.txt",
          "DATA\\ONLY|Data/only", "data//only|Data//only",
          "data/./../dAtA/only|Data/./../Data/only", "data/\xE9T\xC9.txt|Data/\xC9t\xE9.TXT",
          "data/only/|Data/only/", "data/onl|data/onl", "data/absent\\b.txt|data/absent/b.txt"}) {
        for (const std::string& root : {""s, folder.Path() + "/"}) {
            const auto cells = Cells(row);
            EXPECT_EQ(posix::FindExistingPath((root + cells[0]).c_str()), root + cells[1]);
        }
    }
    for (const char* absent : {"data/only/", "data/onl", ""})
        EXPECT_FALSE(Exists(absent)) << absent;
    FileStatus status;
    EXPECT_TRUE(GetStatus(".\\data\\ONLY", status));
    EXPECT_EQ(status.size, 5u);
    std::string dots;
    for (int i = 0; i < 1000; ++i) dots += "./";
    EXPECT_TRUE(Exists((dots + "data/only").c_str()));
    EXPECT_TRUE(ChangeDirectory("data"));
    EXPECT_TRUE(CurrentDirectory().ends_with("/Data"));
}

}  // namespace
}  // namespace platform
