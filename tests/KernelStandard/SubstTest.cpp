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
        EXPECT_EQ(list_.OpenFileCount(*list_.FindSubst(Intern("mnt"))), 1);
    }
    EXPECT_EQ(list_.OpenFileCount(*list_.FindSubst(Intern("mnt"))), 0);
    Unmount("mnt");
    EXPECT_EQ(list_.FindSubst(Intern("mnt")), nullptr);
    try {
        Subst(Intern("mnt"), nullptr);
        ADD_FAILURE() << "nothing thrown";
    } catch (const FileEx& error) {
        EXPECT_EQ(error.GetReason() + ("|"s + error.GetFile()) + std::to_string(error.GetLine()),
                  "Subst(mnt) Closing non-existant subst?|KernelStandard/FileSubstList72");
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
    File closed;
    EXPECT_THROW(FileSub().CloseFile(closed), FileEx);
}

}  // namespace
}  // namespace Vorn::Testing
