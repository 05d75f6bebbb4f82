#include "KernelStandard/FileFind.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <random>

#include "KernelStandard/ArchiveIndex.h"
#include "kernel/Exceptions.h"
#include "kernel/Paths.h"
#include "tests/KernelStandard/FileLayer.h"

namespace Vorn::Testing {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using FileFind = ArchiveLayer;

TEST_F(FileFind, AFolderIsListedInByteOrder) {
    folder.Write("d/b.txt", "12345");
    folder.Write("d/A.TXT", "");
    folder.Write("d/c.bmp", "");
    folder.Write("d/noext", "");
    folder.Write("d/sub/x.txt", "");
    EXPECT_THAT(NamesOf("d/*.txt"), ElementsAre("A.TXT", "b.txt"));
    EXPECT_THAT(NamesOf("d\\*.BMP;n*"), ElementsAre("c.bmp", "noext"));
    EXPECT_THAT(NamesOf("d/*"), ElementsAre(".", "..", "A.TXT", "b.txt", "c.bmp", "noext", "sub"));
    EXPECT_THAT(NamesOf("d/missing*"), IsEmpty());
    EXPECT_THAT(NamesOf("missing/*"), IsEmpty());
    EXPECT_THAT(NamesOf("*/x.txt"), IsEmpty()) << "wildcards in a folder";
    EXPECT_THAT(NamesOf(std::string(300, 'x')), IsEmpty());

    File::Find find;
    ASSERT_TRUE(find.Open("d/b*"));
    EXPECT_EQ(find.Entry().size, 5u);
    EXPECT_EQ(find.Entry().storedSize, 5u);
    EXPECT_EQ(find.Entry().crc, 0u);
    EXPECT_GT(find.Entry().writeTime, 1600000000u);
    PathBuffer path;
    find.GetPath(path);
    EXPECT_EQ(path.View(), "d/b.txt");
    ASSERT_TRUE(find.Open("d/sub"));
    EXPECT_EQ(find.Entry().attributes & kEntryDirectory, kEntryDirectory);
    EXPECT_FALSE(find.Next());
}

TEST_F(FileFind, BackendsMergeTheMostRecentFirst) {
    folder.Write("old/a.txt", "old");
    folder.Write("old/b.txt", "b");
    folder.Write("new/A.txt", "newer");
    folder.Write("a.va",
                 RawArchive({{"B.TXT", "in the archive"}, {"c.txt", "c"}, {"sub/d.txt", ""}}));
    Mount("mnt", "old/");
    Mount("mnt", "a.va");
    Mount("mnt", "new/");
    Mount("mnt", "missing/");
    EXPECT_THAT(NamesOf("mnt:*.txt"), ElementsAre("A.txt", "B.TXT", "c.txt"));
    EXPECT_THAT(NamesOf("mnt://sub\\*.txt"), ElementsAre("d.txt"));
    File::Find find;
    ASSERT_TRUE(find.Open("b.txt", Intern("mnt")));
    EXPECT_EQ(find.Entry().size, 14u);
    EXPECT_FALSE(find.Next());
    EXPECT_FALSE(find.Open((std::string(255, 'x') + "/*").c_str(), Intern("mnt")));
    EXPECT_THROW((void)find.Open("*", Intern("none")), FileEx);
}

TEST_F(FileFind, ArchivesShowTheirFolders) {
    for (const bool withIndex : {true, false}) {
        MountBytes(RawArchive({{"x/1.txt", ""}, {"top", ""}, {"x/y/2.txt", ""}, {"X/Z/3.txt", ""}},
                              withIndex));
        EXPECT_THAT(NamesOf("arc:*"), ElementsAre("x", "top"));
        EXPECT_THAT(NamesOf("arc:x/*"), ElementsAre("1.txt", "y", "Z"));
        EXPECT_THAT(NamesOf("arc:./X\\*.txt"), ElementsAre("1.txt"));
        File::Find find;
        ASSERT_TRUE(find.Open("arc:x/z"));
        EXPECT_EQ(find.Entry().attributes, kEntryDirectory | kEntryReadOnly);
        PathBuffer path;
        find.GetPath(path);
        EXPECT_EQ(path.View(), "x/Z") << "without the mount's name";
        find.Close();
        Unmount("arc");
    }
}

// Folder by folder, 20,000 of them: only a search that looks at what it lists gets through.
TEST_F(FileFind, AWideTreeIsWalkedFolderByFolder) {
    std::vector<RawMember> members;
    members.reserve(20000);
    for (int i = 0; i < 20000; ++i)
        members.push_back({std::to_string(i / 100) + "/" + std::to_string(i) + "/f", ""});
    MountBytes(RawArchive(members));
    int files = 0;
    for (const std::string& outer : NamesOf("arc:*")) {
        const std::string folders = "arc:" + outer + "/";
        for (const std::string& inner : NamesOf(folders + "*")) {
            const std::string pattern = folders + inner + "/*.";
            files += NamesOf(pattern).size() == 1 ? 1 : 0;
        }
    }
    EXPECT_EQ(files, 20000);
}

TEST(ArchiveIndexProperty, MembersBelowAreThoseThatMatch) {
    constexpr unsigned kSeed = 20;
    SCOPED_TRACE(kSeed);
    std::minstd_rand random(kSeed);
    const auto text = [&random](std::size_t most) {
        std::string name;
        for (std::size_t length = random() % most; name.size() < length;)
            name += "aAb/\\.\xC4\xE4"[random() % 8];
        return name;
    };
    ArchiveIndex index;
    std::size_t found = 0;
    for (int round = 0; round < 3000; ++round) {
        FindEntry entry;
        SetPath(entry.name, text(8));
        const auto ordinal = index.Add(0, 0, entry);
        if (random() % 8 == 0) index.Remove(ordinal);
        if (round % 4 != 0) continue;
        const std::string prefix = text(3) + "/";
        std::vector<ArchiveIndex::Ordinal> expected;
        for (ArchiveIndex::Ordinal at = 0; at < index.End(); ++at) {
            std::size_t directory = 0;
            const bool matches = MatchWildcards(index[at].entry.Name(), prefix + "*", &directory) ||
                                 directory != std::string_view::npos;
            if (matches && !index[at].removed) expected.push_back(at);
        }
        ASSERT_EQ(index.MembersBelow(prefix), expected) << prefix;
        found += expected.size();
    }
    EXPECT_GT(found, 1000u);
}

}  // namespace
}  // namespace Vorn::Testing
