#include "platform/Directories.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <map>
#include <vector>

#include "platform/Processes.h"
#include "tests/platform/TemporaryFolder.h"

namespace platform {
namespace {

using Directories = TemporaryFolder;
using testing::ElementsAre;

TEST_F(Directories, EntriesComeInByteOrderWithTheirStatus) {
    ASSERT_TRUE(MakeDirectory(At("sub").c_str()));
    Put("b", "12");
    Put("A", "123", 0444);
    ASSERT_EQ(symlink("b", At("link").c_str()), 0);
    ASSERT_EQ(symlink("absent", At("broken").c_str()), 0);
    std::vector<std::string> names;
    std::map<std::string, DirectoryEntry> entries;
    EXPECT_TRUE(ListDirectory((folder_ + "\\").c_str(), [&](const DirectoryEntry& entry) {
        names.push_back(entry.name);
        entries[entry.name] = entry;
        return true;
    }));
    EXPECT_THAT(names, ElementsAre(".", "..", "A", "b", "broken", "link", "sub"));
    EXPECT_EQ(entries["A"].status.size, 3u);
    EXPECT_EQ(entries["A"].status.attributes, kAttributeReadOnly);
    EXPECT_EQ(entries["sub"].status.size, 0u);
    EXPECT_TRUE(entries["sub"].status.IsDirectory());
    EXPECT_EQ(entries["link"].status.size, 2u);
    EXPECT_TRUE(entries["link"].isLink && entries["broken"].isLink && !entries["b"].isLink);

    int visits = 0;
    EXPECT_TRUE(
        ListDirectory(folder_.c_str(), [&](const DirectoryEntry&) { return ++visits < 3; }));
    EXPECT_EQ(visits, 3);
    EXPECT_FALSE(ListDirectory(At("b").c_str(), [](const DirectoryEntry&) { return true; }));
}

TEST_F(Directories, RenamingNeverReplaces) {
    Put("a", "from a");
    Put("b", "from b");
    ASSERT_TRUE(MakeDirectory(At("empty").c_str()));
    ASSERT_TRUE(MakeDirectory(At("empty2").c_str()));
    EXPECT_FALSE(Rename(At("a").c_str(), At("b").c_str()));
    EXPECT_FALSE(Rename(At("empty").c_str(), At("empty2").c_str()));
    EXPECT_EQ(ContentsOf("b"), "from b");
    EXPECT_FALSE(Rename(At("A").c_str(), At("c").c_str()));  // names are exact here
    EXPECT_TRUE(Rename((folder_ + "\\a").c_str(), (folder_ + "\\empty\\A").c_str()));
    EXPECT_EQ(ContentsOf("empty/A"), "from a");
    EXPECT_TRUE(Rename(At("empty").c_str(), At("full").c_str()));
    EXPECT_EQ(ContentsOf("full/A"), "from a");
}

TEST_F(Directories, ReplacingTakesAFileOrALinkButNothingReadOnly) {
    Put("new", "new");
    Put("old", "old");
    Put("kept", "kept", 0444);
    ASSERT_TRUE(MakeDirectory(At("folder").c_str()));
    ASSERT_EQ(symlink("old", At("link").c_str()), 0);
    EXPECT_FALSE(ReplaceFile(At("new").c_str(), At("kept").c_str()));
    EXPECT_FALSE(ReplaceFile(At("new").c_str(), At("folder").c_str()));
    EXPECT_TRUE(ReplaceFile(At("new").c_str(), At("link").c_str()));
    EXPECT_EQ(ContentsOf("link") + ContentsOf("old"), "newold");
    EXPECT_TRUE(ReplaceFile(At("link").c_str(), At("old").c_str()));
    EXPECT_EQ(ContentsOf("old"), "new");
    EXPECT_FALSE(Exists(At("link").c_str()));
    EXPECT_TRUE(ReplaceFile(At("old").c_str(), At("fresh").c_str()));
}

TEST_F(Directories, RemovalIsExactAndRespectsReadOnly) {
    Put("f", "");
    ASSERT_TRUE(MakeDirectory(At("d").c_str()));
    EXPECT_FALSE(MakeDirectory(At("d").c_str()));
    EXPECT_FALSE(RemoveFile(At("F").c_str()));
    EXPECT_FALSE(RemoveFile(At("d").c_str()));
    EXPECT_FALSE(RemoveDirectory(At("f").c_str()));
    EXPECT_TRUE(SetReadOnly(At("F").c_str(), true));
    EXPECT_FALSE(RemoveFile(At("f").c_str()));
    EXPECT_TRUE(SetReadOnly(At("f").c_str(), false));
    FileStatus status;
    EXPECT_TRUE(GetStatus(At("f").c_str(), status));
    EXPECT_EQ(status.attributes, 0);
    Put("d/x", "");
    EXPECT_FALSE(RemoveDirectory(At("d").c_str()));
    EXPECT_TRUE(RemoveFile(At("d\\x").c_str()) && RemoveDirectory(At("d").c_str()));
    EXPECT_TRUE(RemoveFile(At("f").c_str()));
    EXPECT_FALSE(SetHidden(At("f").c_str(), true));
    EXPECT_FALSE(SetReadOnly(At("f").c_str(), true));
}

TEST_F(Directories, TemporaryDirectoryEndsInASeparator) {
    const char* const rows[][2] = {{"/x", "/x/"}, {"/x/", "/x/"}, {"", "/tmp/"}};
    std::string before;
    const bool wasSet = GetEnvironment("TMPDIR", before);
    for (const auto& [configured, expected] : rows) {
        setenv("TMPDIR", configured, 1);
        EXPECT_EQ(TemporaryDirectory(), expected);
    }
    if (wasSet) {
        setenv("TMPDIR", before.c_str(), 1);
    } else {
        unsetenv("TMPDIR");
    }
}

}  // namespace
}  // namespace platform
