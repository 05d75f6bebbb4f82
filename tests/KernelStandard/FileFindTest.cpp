#include "KernelStandard/FileFind.h"

#include "KernelStandard/ArchiveFolders.h"
#include "kernel/Paths.h"
#include "platform/Directories.h"
#include "tests/KernelStandard/FileLayer.h"

namespace Vorn::Testing {
namespace {

using FileFind = ArchiveLayer;

TEST_F(FileFind, AFolderIsListedInByteOrder) {
    folder.Write("d/b.txt", "12345");
    for (const char* name : {"d/A.TXT", "d/c.bmp", "d/noext", "d/sub/x.txt"})
        folder.Write(name, "");
    using Names = std::vector<std::string>;
    for (const auto& [pattern, names] : Table<std::string, Names>{
             {"d/*.txt", {"A.TXT", "b.txt"}},
             {"d\\*.BMP;n*", {"c.bmp", "noext"}},
             {"d/*", {".", "..", "A.TXT", "b.txt", "c.bmp", "noext", "sub"}},
             {"d/missing*", {}},
             {"missing/*", {}},
             {"*/x.txt", {}},  // wildcards in a folder
             {std::string(300, 'x'), {}},
         }) {
        EXPECT_EQ(NamesOf(pattern), names) << pattern;
    }
    File::Find find;
    ASSERT_TRUE(find.Open("d/b*"));
    EXPECT_EQ(find.Entry().size, 5u);
    EXPECT_EQ(find.Entry().storedSize, 5u);
    EXPECT_EQ(find.Entry().crc, 0u);
    EXPECT_EQ(find.Entry().writeTime, TimeOf("d/b.txt"));
    PathBuffer path;
    find.GetPath(path);
    EXPECT_EQ(path.View(), "d/b.txt");
    ASSERT_TRUE(find.Open("d/sub"));
    EXPECT_EQ(find.Entry().attributes & platform::kAttributeDirectory,
              platform::kAttributeDirectory);
    EXPECT_FALSE(find.Next());
}

TEST_F(FileFind, APathOfTheSystemIsOneAlsoWithAColon) {
    folder.Write("mnt:x/in/on-disk", "right");
    folder.Write("other/in/mounted", "wrong");
    fs::create_directory_symlink("other", "x");
    Mount("mnt", "./");
    EXPECT_THAT(NamesOf("mnt:x/in/*d*"), ElementsAre("mounted"));
    File::Find find;
    ASSERT_TRUE(find.OpenOnDisk("mnt:x/in/*d*"));
    PathBuffer path;
    find.GetPath(path);
    EXPECT_EQ(path.View(), "mnt:x/in/on-disk");
    EXPECT_EQ(File::Exists(InternedString(), path.c_str()), RES_OK);
    EXPECT_EQ(File::Exists(InternedString(), "mnt:x/in/mounted"), RES_FILENOTFOUND);
    File file;
    ASSERT_EQ(file.Open(InternedString(), path.c_str(), kReadDetect), RES_OK);
    EXPECT_EQ(file.Size(), 5u);
    EXPECT_FALSE(find.Next());
    EXPECT_FALSE(find.OpenOnDisk("mnt:*/*"));
}

TEST_F(FileFind, BackendsMergeTheMostRecentFirst) {
    folder.Write("old/a.txt", "old");
    folder.Write("old/b.txt", "b");
    folder.Write("new/A.txt", "newer");
    folder.Write("a.va",
                 RawArchive({{"B.TXT", "in the archive"}, {"c.txt", "c"}, {"sub/d.txt", ""}}));
    for (const char* place : {"old/", "a.va", "new/", "missing/"}) Mount("mnt", place);
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
        SCOPED_TRACE(withIndex);
        MountBytes(RawArchive(
            {{"x/1.txt", ""}, {"top", ""}, {"x/y/2.txt", ""}, {"X/Z/3", ""}, {"t.d/b", ""}},
            withIndex));
        EXPECT_THAT(NamesOf("arc:*"), ElementsAre("x", "top", "t.d"));
        EXPECT_THAT(NamesOf("arc:x/*"), ElementsAre("1.txt", "y", "Z"));
        EXPECT_THAT(NamesOf("arc:./X\\*.txt"), ElementsAre("1.txt"));
        {
            File::Find find;
            ASSERT_TRUE(find.Open("arc:x/z"));
            EXPECT_EQ(find.Entry().attributes,
                      platform::kAttributeDirectory | platform::kAttributeReadOnly);
            PathBuffer path;
            find.GetPath(path);
            EXPECT_EQ(path.View(), "x/Z") << "without the mount's name";
        }
        // They exist if their last part has no dot.
        for (const std::string path : {"X", "x/", "X\\Y", "x/z", "x/z/3"}) {
            EXPECT_EQ(File::Exists(("arc:" + path).c_str()), RES_OK) << path;
        }
        for (const std::string path : {"to", "t.d", "", "x/z*", "x/1"}) {
            EXPECT_EQ(File::Exists(("arc:" + path).c_str()), RES_FILENOTFOUND) << path;
        }
        EXPECT_EQ(Contents("arc:x"), std::nullopt);
        Unmount("arc");
    }
}

// 20,000 folders, one search each: searches that visit all members would make 400 million visits.
TEST_F(FileFind, AWideTreeIsWalkedFolderByFolder) {
    std::vector<RawMember> members;
    for (int i = 0; i < 20000; ++i) {
        members.push_back({std::to_string(i / 100) + "/" + std::to_string(i) + "/f", ""});
    }
    MountBytes(RawArchive(members));
    std::size_t files = 0;
    for (const std::string& outer : NamesOf("arc:*")) {
        const std::string path = "arc:" + outer + "/";
        for (const std::string& inner : NamesOf(path + "*")) {
            files += NamesOf(std::string(path).append(inner).append("/*.")).size();
        }
    }
    EXPECT_EQ(files, 20000u);
}

TEST(ArchiveFoldersProperty, MembersBelowAreThoseThatMatch) {
    std::minstd_rand random(20);
    archive::MemberTable members;
    ArchiveFolders folders;
    std::size_t found = 0;
    for (int round = 0; round < 3000; ++round) {
        FindEntry entry;
        SetPath(entry.name, RandomText(random, "aAb/\\.\xC4\xE4", 7));
        std::array<std::byte, archive::kFindEntrySize> bytes{};
        archive::EncodeEntry(bytes, entry);
        const auto ordinal = members.Add(0, 0, bytes);
        if (random() % 8 == 0) members.Remove(ordinal);
        if (round % 4 != 0) continue;
        const std::string prefix = RandomText(random, "aAb/\\.\xC4\xE4", 2) + "/";
        std::vector<ArchiveFolders::Ordinal> expected;
        for (ArchiveFolders::Ordinal at = 0; at < members.End(); ++at) {
            std::size_t directory = 0;
            const bool matches = MatchWildcards(members.Name(at), prefix + "*", &directory) ||
                                 directory != std::string_view::npos;
            if (matches && members.Has(at)) expected.push_back(at);
        }
        ASSERT_EQ(folders.MembersBelow(members, prefix), expected) << prefix;
        found += expected.size();
    }
    EXPECT_GT(found, 1000u);
}

}  // namespace
}  // namespace Vorn::Testing
