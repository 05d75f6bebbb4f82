#include "KernelStandard/FileFind.h"
#include "KernelStandard/FileSubPath.h"
#include "KernelStandard/OpenFile.h"
#include "tests/KernelStandard/FileLayer.h"

namespace Vorn::Testing {
namespace {

class SubstStack : public FileLayer {
protected:
    SubstStack() {
        folder.Write("a/both", "from a");
        folder.Write("a/only-a", "a");
        folder.Write("b/both", "from b");
    }

    FileSubstList& list_ = FileSubstList::Instance();
};

TEST_F(SubstStack, LaterMountsShadowEarlierOnesAndReadOnlyOnesAreNotChanged) {
    Mount("mnt", "a/", true);
    Mount("mnt", "b/", true);
    EXPECT_TRUE(Store("mnt:new", "n"));
    ExpectContents(
        {{"mnt:both", "from b"}, {"mnt:only-a", "a"}, {"b/new", "n"}, {"a/new", std::nullopt}});
    EXPECT_TRUE(File::Rename("mnt:only-a", "mnt:renamed"));
    EXPECT_TRUE(folder.Has("a/renamed")) << "by the backend that has it";
    folder.Write("ro/both", "kept");
    Mount("mnt", "ro/");
    EXPECT_TRUE(File::Delete("mnt:both")) << "from every backend";
    EXPECT_FALSE(folder.Has("a/both") || folder.Has("b/both"));
    EXPECT_EQ(Contents("mnt:both"), "kept");
    EXPECT_TRUE(Store("mnt:behind", "n") && File::MakePath("mnt:dir"));
    EXPECT_TRUE(folder.Has("b/behind") && folder.Has("b/dir"));
    Mount("ro", "ro/");
    EXPECT_FALSE(Store("ro:new", "n") || File::MakePath("ro:dir"));
    EXPECT_FALSE(File::Rename("ro:both", "ro:x"));
}

TEST_F(SubstStack, AMissingFolderBecomesAvailableWithItsFirstFile) {
    Mount("mnt", "late/", true);
    folder.Write("late/there", "x");
    EXPECT_EQ(Contents("mnt:there"), std::nullopt);
    EXPECT_FALSE(File::MakePath("mnt:dir"));
    EXPECT_TRUE(Store("mnt:deep/file", "y"));
    EXPECT_EQ(Contents("mnt:there"), "x");
}

TEST_F(SubstStack, RootsMayBeMountsThemselves) {
    Mount("base", "a/", true);
    Mount("chain", "base:sub/", true);
    ASSERT_TRUE(Store("chain:f", "x"));
    ExpectContents({{"a/sub/f", "x"}, {"chain:f", "x"}});
    EXPECT_EQ(File::Exists("chain:F"), RES_OK);
    EXPECT_TRUE(File::Rename("chain:f", "chain:g"));
    EXPECT_TRUE(File::Delete("chain:g"));
    EXPECT_FALSE(folder.Has("a/sub/g"));
    Mount("arc", "a/new.va", true);
    Mount("chain", "arc:folder/", true);
    ASSERT_TRUE(Store("chain:member", "m", kWriteCompressed));
    EXPECT_EQ(Contents("arc:folder/member"), "m");
}

TEST_F(SubstStack, ClosingANameRemovesAllItsBackends) {
    Mount("mnt", "a/");
    Mount("mnt", "b/");
    {
        File file;
        ASSERT_EQ(file.Open("mnt:only-a", kReadCompressed), RES_OK);
        EXPECT_EQ(list_.OpenFileCount(Intern("mnt")), 1);
    }
    EXPECT_EQ(list_.OpenFileCount(Intern("mnt")), 0);
    Unmount("mnt");
    EXPECT_FALSE(list_.IsMounted(Intern("mnt")));
    try {
        Subst(Intern("mnt"), nullptr);
        ADD_FAILURE() << "nothing thrown";
    } catch (const FileEx& error) {
        EXPECT_EQ(error.GetReason() + ("|"s + error.GetFile()) + std::to_string(error.GetLine()),
                  "Subst(mnt) Closing non-existant subst?|KernelStandard/FileSubstList72");
    }
}

TEST_F(SubstStack, WhatIsOpenOutlivesItsMount) {
    folder.Write("a.va", RawArchive({{"m", Prose(50000)}, {"n", ""}}));
    folder.Write("a/big", Prose(50000));
    Mount("mnt", "a/");
    Mount("arc", "a.va", true);
    File plain;
    File member;
    File added;
    ASSERT_EQ(plain.Open("mnt:big", kReadPlain), RES_OK);
    ASSERT_EQ(member.Open("arc:m", kReadDetect), RES_OK);
    ASSERT_EQ(added.Open("arc:added", kCreateOrTruncate | kWriteCompressed), RES_OK);
    ASSERT_TRUE(Store("arc:before", "b"));
    File::Find find;
    ASSERT_TRUE(find.Open("arc:*"));
    Unmount("mnt");
    Unmount("arc");
    Mount("arc", "a.va");
    EXPECT_EQ(Contents("arc:before"), "b") << "the archive was completed";
    Unmount("arc");
    for (File* file : {&plain, &member}) {
        std::string content(50000, '\0');
        EXPECT_EQ(file->Read(content.data(), 50000), 50000u);
        EXPECT_EQ(content, Prose(50000));
        EXPECT_TRUE(file->Close());
    }
    EXPECT_TRUE(find.Next());
    find.Close();
    EXPECT_EQ(added.Write("late", 4), 4u);
    EXPECT_TRUE(added.Close());
    Mount("arc", "a.va");
    ExpectContents({{"arc:added", "late"}, {"arc:before", "b"}, {"arc:n", ""}});
}

TEST_F(SubstStack, AMountMayBeClosedWhileOthersUseIt) {
    folder.Write("a.va", RawArchive({{"m", Prose(40000)}}));
    constexpr int kRounds = 300;
    std::atomic<bool> done = false;
    std::atomic<int> whole = 0;
    InThreads(4, [&](std::size_t t) {
        if (t == 0) {
            // Continues until the mount was used: else the rounds may end before the others start.
            for (int round = 0; round < kRounds || whole == 0; ++round) {
                Subst(Intern("mnt"), "a.va");
                Subst(Intern("mnt"), "a/", true);
                std::this_thread::yield();
                Subst(Intern("mnt"), nullptr);
            }
            done = true;
        }
        while (!done) {
            (void)File::Exists("mnt:both");
            (void)NamesOf("mnt:*");
            (void)list_.OpenFileCount(Intern("mnt"));
            const auto content = Contents("mnt:m");
            if (!content) continue;
            EXPECT_EQ(content, Prose(40000));
            ++whole;
        }
    });
    EXPECT_GT(whole, 0);
    EXPECT_EQ(File::OpenFileCount(), 0);
}

TEST_F(SubstStack, MountsInACircleEnd) {
    Mount("bb", "a/", true);
    Mount("aa", "bb:/", true);
    Mount("bb", "aa:/", true);
    ExpectContents({{"aa:both", "from a"}, {"bb:both", "from a"}, {"bb:none", std::nullopt}});
    EXPECT_EQ(File::Exists("aa:none"), RES_FILENOTFOUND);
    EXPECT_THAT(NamesOf("bb:b*"), ElementsAre("both"));
    EXPECT_THAT(NamesOf("aa:*-a"), ElementsAre("only-a"));
    EXPECT_TRUE(Store("aa:new", "n") && File::MakePath("bb:dir/sub"));
    EXPECT_EQ(Contents("a/new"), "n");
    EXPECT_TRUE(File::Rename("bb:new", "bb:newer") && File::Delete("aa:newer"));
    EXPECT_FALSE(File::Delete("aa:newer"));
    EXPECT_TRUE(File::DeleteDirectory("bb:dir") && !folder.Has("a/dir"));
    EXPECT_FALSE(File::DeleteDirectory("bb:dir"));
    EXPECT_TRUE(TimeOf("bb:both") && !TimeOf("bb:newer"));

    // Three in a circle, with folders in between.
    Mount("c1", "b/", true);
    for (const auto& [name, path] : Table<const char*, const char*>{
             {"c2", "c1:/"}, {"c3", "c2:/"}, {"c1", "c3:/"}, {"c2", "c3:x/"}}) {
        Mount(name, path, true);
    }
    folder.Write("b/x/in-x", "x");
    for (const std::string name : {"c1:", "c2:", "c3:"}) {
        ExpectContents(
            {{name + "both", "from b"}, {name + "x/in-x", "x"}, {name + "none", std::nullopt}});
        EXPECT_THAT(NamesOf(name + "bo*"), ElementsAre("both"));
    }

    // In a circle without a folder nothing is found.
    Mount("cc", "dd:/", true);
    Mount("dd", "cc:/", true);
    Mount("cc", "dd:/", true);
    ExpectContents({{"cc:both", std::nullopt}, {"dd:both", std::nullopt}});
    EXPECT_FALSE(Store("cc:new", "n"));
    EXPECT_THAT(NamesOf("cc:*"), IsEmpty());
}

TEST_F(SubstStack, ASearchFindsWhatOpensThroughMountsOnMounts) {
    folder.Write("b/sub/in-b", "1");
    folder.Write("a/sub/in-a", "2");
    folder.Write("a/sub/deep/x1", "3");
    folder.Write("arc.va", RawArchive({{"sub/in-archive", "4"}, {"sub/deep/y1", "5"}}));
    for (const char* place : {"a/", "arc.va", "b/"}) Mount("base", place);
    Mount("chain", "base:sub/");
    Mount("longer", "chain:deep/");
    EXPECT_THAT(NamesOf("chain:in*"), ElementsAre("in-b", "in-archive", "in-a"));
    EXPECT_THAT(NamesOf("chain:deep/?1"), ElementsAre("y1", "x1"));
    EXPECT_THAT(NamesOf("longer:?1"), ElementsAre("y1", "x1"));
    ExpectContents({{"chain:in-archive", "4"}, {"longer:x1", "3"}, {"longer:y1", "5"}});
}

TEST_F(SubstStack, PathsAreSplitAtTheirFirstColon) {
    Mount("c", "a/");
    for (const char* path : {"c:\\x", "c:/x", "x/y", ":x"}) {
        EXPECT_FALSE(list_.NamesMount(path)) << path;
    }
    EXPECT_TRUE(list_.NamesMount("c:x:y"));
    EXPECT_STREQ(SplitMountPath("c:x:y").rest, "x:y");
    EXPECT_EQ(File::Exists("c:both"), RES_OK) << "a mount for this operation";
    EXPECT_EQ(Contents("c:both"), std::nullopt) << "and a drive for that one";
    EXPECT_FALSE(list_.IsMounted(InternedString()));
}

TEST_F(SubstStack, ABackendAnswersForItself) {
    FileSubPath sub("a/", true);
    EXPECT_TRUE(sub.IsRoot("a/") && !sub.IsRoot("a\\"));
    for (const auto& [name, path, found] : Table<std::string_view, const char*, bool>{
             {"missing", "missing", false}, {"both", "a/both", true}}) {
        PathBuffer real(name);
        EXPECT_EQ(sub.GetRealPath(real), found);
        EXPECT_EQ(real.View(), path);
    }
    sub.SetReadOnly("both", true);
    EXPECT_FALSE(sub.Delete("both"));
    EXPECT_FALSE(sub.Delete(std::string(259, 'x').c_str())) << "no room for root and name";
    OpenFile closed;
    EXPECT_THROW(FileSub().CloseFile(closed), FileEx);
}

}  // namespace
}  // namespace Vorn::Testing
