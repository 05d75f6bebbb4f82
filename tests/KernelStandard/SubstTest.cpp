#include "KernelStandard/FileSubPath.h"
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

TEST_F(SubstStack, LaterMountsShadowEarlierOnes) {
    Mount("mnt", "a/", true);
    Mount("mnt", "b/", true);
    EXPECT_TRUE(Store("mnt:new", "n"));
    ExpectContents(
        {{"mnt:both", "from b"}, {"mnt:only-a", "a"}, {"b/new", "n"}, {"a/new", std::nullopt}});
    EXPECT_TRUE(File::Delete("mnt:both")) << "from every backend";
    EXPECT_FALSE(folder.Has("a/both") || folder.Has("b/both"));
    EXPECT_TRUE(File::Rename("mnt:only-a", "mnt:renamed"));
    EXPECT_TRUE(folder.Has("a/renamed")) << "by the backend that has it";
}

TEST_F(SubstStack, ReadOnlyBackendsAreSkippedForChanges) {
    Mount("mnt", "a/", true);
    Mount("mnt", "b/");
    EXPECT_TRUE(Store("mnt:new", "n"));
    EXPECT_TRUE(File::MakePath("mnt:dir"));
    EXPECT_TRUE(folder.Has("a/new") && folder.Has("a/dir"));
    EXPECT_TRUE(File::Delete("mnt:both"));
    EXPECT_EQ(Contents("mnt:both"), "from b");
    EXPECT_FALSE(File::Rename("mnt:both", "mnt:x"));
    Mount("ro", "b/");
    EXPECT_FALSE(Store("ro:new", "n"));
    EXPECT_FALSE(File::MakePath("ro:dir"));
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
    Unmount("mnt");
    EXPECT_EQ(list_.FindSubst(Intern("mnt")), nullptr);
    try {
        Subst(Intern("mnt"), nullptr);
        ADD_FAILURE() << "nothing thrown";
    } catch (const FileEx& error) {
        EXPECT_STREQ(error.GetReason(), "Subst(mnt) Closing non-existant subst?");
        EXPECT_STREQ(error.GetFile(), "KernelStandard/FileSubstList");
        EXPECT_EQ(error.GetLine(), 72);
    }
}

TEST_F(SubstStack, PathsAreSplitAtTheirFirstColon) {
    Mount("c", "a/");
    const char* rest = nullptr;
    for (const char* path : {"c:\\x", "c:/x", "x/y", ":x"}) {
        EXPECT_EQ(list_.GetSubstOfPath(path, rest), nullptr) << path;
    }
    ASSERT_NE(list_.GetSubstOfPath("c:x:y", rest), nullptr);
    EXPECT_STREQ(rest, "x:y");
    EXPECT_EQ(File::Exists("c:both"), RES_OK) << "a mount for this operation";
    EXPECT_EQ(Contents("c:both"), std::nullopt) << "and a drive for that one";
    EXPECT_EQ(list_.FindSubst(InternedString()), nullptr);
}

TEST_F(SubstStack, OpenFilesAreCountedByTheirBackends) {
    folder.Write("a.va", RawArchive({{"in", "x"}}));
    Mount("mnt", "a/", true);
    Mount("mnt", "a.va");
    SubstEntry& entry = *list_.FindSubst(Intern("mnt"));
    {
        File files[2];
        ASSERT_EQ(files[0].Open("mnt:in", kReadDetect), RES_OK);
        ASSERT_EQ(files[1].Open("mnt:only-a", kReadCompressed), RES_OK);
        EXPECT_EQ(list_.OpenFileCount(entry), 2);
        EXPECT_EQ(File::OpenFileCount(), 2);
    }
    EXPECT_EQ(list_.OpenFileCount(entry), 0);
}

TEST_F(SubstStack, ABackendAnswersForItself) {
    FileSubPath sub("a/", true);
    EXPECT_TRUE(sub.IsRoot("a/") && !sub.IsRoot("a\\"));
    EXPECT_TRUE(sub.IsKind(kKindDirectory) && !sub.IsKind(kKindArchive));
    PathBuffer name{std::string_view("missing")};
    EXPECT_FALSE(sub.GetRealPath(name));
    EXPECT_EQ(name.View(), "missing");
    name = PathBuffer{std::string_view("both")};
    EXPECT_TRUE(sub.GetRealPath(name));
    EXPECT_EQ(name.View(), "a/both");
    sub.SetReadOnly("both", true);
    EXPECT_FALSE(sub.Delete("both"));
    EXPECT_FALSE(sub.Delete(std::string(259, 'x').c_str())) << "no room for root and name";
    File closed;
    EXPECT_THROW(FileSub().CloseFile(closed), FileEx);
}

}  // namespace
}  // namespace Vorn::Testing
