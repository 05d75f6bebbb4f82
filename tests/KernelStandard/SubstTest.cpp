#include <gmock/gmock.h>

#include "KernelStandard/FileSubPath.h"
#include "KernelStandard/FileSubstList.h"
#include "kernel/Exceptions.h"
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
};

TEST_F(SubstStack, LaterMountsShadowEarlierOnes) {
    Mount("mnt", "a/", true);
    Mount("mnt", "b/", true);
    EXPECT_EQ(Contents("mnt:both"), "from b");
    EXPECT_EQ(Contents("mnt:only-a"), "a");
    EXPECT_TRUE(Store("mnt:new", "n"));
    EXPECT_TRUE(folder.Has("b/new"));
    EXPECT_FALSE(folder.Has("a/new"));
    EXPECT_TRUE(File::Delete("mnt:both")) << "from every backend";
    EXPECT_FALSE(folder.Has("a/both") || folder.Has("b/both"));
    EXPECT_TRUE(File::Rename("mnt:only-a", "mnt:renamed"));
    EXPECT_TRUE(folder.Has("a/renamed")) << "by the backend that has it";
}

TEST_F(SubstStack, ReadOnlyBackendsAreSkippedForChanges) {
    Mount("mnt", "a/", true);
    Mount("mnt", "b/");
    EXPECT_EQ(Contents("mnt:both"), "from b");
    EXPECT_TRUE(Store("mnt:new", "n"));
    EXPECT_TRUE(folder.Has("a/new"));
    EXPECT_TRUE(File::Delete("mnt:both"));
    EXPECT_EQ(Contents("mnt:both"), "from b");
    EXPECT_FALSE(File::Rename("mnt:both", "mnt:x"));
    EXPECT_TRUE(File::MakePath("mnt:dir"));
    EXPECT_TRUE(folder.Has("a/dir"));
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
    EXPECT_EQ(folder.Read("a/sub/f"), "x");
    EXPECT_EQ(Contents("chain:f"), "x");
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
    EXPECT_EQ(FileSubstList::Instance().FindSubst(Intern("mnt")), nullptr);
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
    FileSubstList& list = FileSubstList::Instance();
    const char* rest = nullptr;
    EXPECT_EQ(list.GetSubstOfPath("c:\\x", rest), nullptr);
    EXPECT_EQ(list.GetSubstOfPath("c:/x", rest), nullptr);
    EXPECT_EQ(list.GetSubstOfPath("x/y", rest), nullptr);
    EXPECT_EQ(list.GetSubstOfPath(":x", rest), nullptr);
    ASSERT_NE(list.GetSubstOfPath("c:x:y", rest), nullptr);
    EXPECT_STREQ(rest, "x:y");
    EXPECT_EQ(File::Exists("c:both"), RES_OK) << "a mount for this operation";
    EXPECT_EQ(Contents("c:both"), std::nullopt) << "and a drive for that one";
    EXPECT_EQ(list.FindSubst(InternedString()), nullptr);
}

TEST_F(SubstStack, OpenFilesAreCountedByTheirBackends) {
    folder.Write("a.va", RawArchive({{"in", "x"}}));
    Mount("mnt", "a/", true);
    Mount("mnt", "a.va");
    FileSubstList& list = FileSubstList::Instance();
    SubstEntry& entry = *list.FindSubst(Intern("mnt"));
    File first;
    File second;
    ASSERT_EQ(first.Open("mnt:in", kReadDetect), RES_OK);
    ASSERT_EQ(second.Open("mnt:only-a", kReadCompressed), RES_OK);
    EXPECT_EQ(list.OpenFileCount(entry), 2);
    EXPECT_EQ(File::OpenFileCount(), 2);
    first.Close();
    second.Close();
    EXPECT_EQ(list.OpenFileCount(entry), 0);
}

TEST_F(SubstStack, ABackendAnswersForItself) {
    FileSubPath sub("a/", true);
    EXPECT_TRUE(sub.IsRoot("a/"));
    EXPECT_FALSE(sub.IsRoot("a\\"));
    EXPECT_TRUE(sub.IsKind(kKindDirectory));
    EXPECT_FALSE(sub.IsKind(kKindArchive));
    PathBuffer name{std::string_view("missing")};
    EXPECT_FALSE(sub.GetRealPath(name));
    EXPECT_EQ(name.View(), "missing");
    PathBuffer found{std::string_view("both")};
    EXPECT_TRUE(sub.GetRealPath(found));
    EXPECT_EQ(found.View(), "a/both");
    sub.SetReadOnly("both", true);
    EXPECT_FALSE(sub.Delete("both"));
    EXPECT_FALSE(sub.Delete(std::string(259, 'x').c_str())) << "no room for root and name";
    File closed;
    struct : FileSub {
    } base;
    EXPECT_THROW(base.CloseFile(closed), FileEx);
}

}  // namespace
}  // namespace Vorn::Testing
