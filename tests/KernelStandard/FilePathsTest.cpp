#include "tests/KernelStandard/FileLayer.h"

namespace Vorn::Testing {
namespace {

using FilePaths = FileLayer;

TEST_F(FilePaths, TheFileSystemServesPathsWithoutAMount) {
    folder.Write("d/f", "x");
    folder.Write("g", "y");
    EXPECT_EQ(File::Exists("d\\f"), RES_OK);
    EXPECT_EQ(File::Exists("d"), RES_OK);
    EXPECT_EQ(File::Exists("none:d/f"), RES_FILENOTFOUND);
    EXPECT_GT(TimeOf("d/f"), 1600000000u);
    EXPECT_FALSE(File::Rename("d/f", "g")) << "a target is never replaced";
    EXPECT_TRUE(File::Rename("d/f", "d/h"));
    ExpectContents({{"g", "y"}, {"d/f", std::nullopt}, {"d/h", "x"}});
    EXPECT_FALSE(File::Delete("d"));
    EXPECT_TRUE(File::Delete("d/h"));
    EXPECT_FALSE(File::Delete("d/h"));
    EXPECT_TRUE(File::ChangeDirectory("d"));
    EXPECT_EQ(File::Exists("../g"), RES_OK);
}

TEST_F(FilePaths, AMountServesItsPaths) {
    Mount("mnt", "root/", true);
    EXPECT_TRUE(Store("mnt:a/b/f", "x"));
    EXPECT_EQ(folder.Read("root/a/b/f"), "x");
    EXPECT_EQ(File::Exists(Intern("mnt"), "/a/b"), RES_OK);
    EXPECT_EQ(File::Exists(Intern("none"), "root/a/b"), RES_OK);
    EXPECT_TRUE(File::Rename("mnt:a/b/f", "mnt:/g"));
    EXPECT_EQ(Contents("mnt:g"), "x");
    EXPECT_EQ(TimeOf("mnt:g"), TimeOf("root/g"));
    EXPECT_TRUE(File::MakePath("mnt:\\new\\folder"));
    EXPECT_TRUE(fs::is_directory("root/new/folder"));
    EXPECT_TRUE(File::Delete("mnt:g"));
    EXPECT_EQ(Contents("mnt:g"), std::nullopt);
}

TEST_F(FilePaths, MakePathCreatesEveryLevel) {
    folder.Write("file", "x");
    const std::string full = folder.Path("x/y/z");
    for (const char* path : {"a", "a/b\\c//d", "a/b", "./p/../q", full.c_str()}) {
        EXPECT_TRUE(File::MakePath(path)) << path;
    }
    EXPECT_TRUE(fs::is_directory("a/b/c/d") && fs::is_directory("q") && fs::is_directory(full));
    for (const std::string& path : {"file"s, "file/below"s, std::string(300, 'l')}) {
        EXPECT_FALSE(File::MakePath(path.c_str())) << path;
    }
}

TEST_F(FilePaths, DeleteDirectoryTakesTheTreeAndNothingElse) {
    folder.Write("keep/f", "x");
    folder.Write("d/sub/f", "1");
    folder.Write("d/locked", "2", fs::perms::owner_read);
    fs::create_symlink("../keep", "d/link");
    fs::create_symlink("nowhere", "d/broken");
    fs::create_directory_symlink("keep", "link");
    EXPECT_TRUE(File::DeleteDirectory("d/"));
    EXPECT_FALSE(folder.Has("d"));
    EXPECT_TRUE(File::DeleteDirectory("link\\"));
    EXPECT_FALSE(fs::is_symlink("link"));
    EXPECT_FALSE(File::DeleteDirectory("keep/f")) << "not a directory";
    EXPECT_FALSE(File::DeleteDirectory("missing"));
    EXPECT_EQ(folder.Read("keep/f"), "x");
}

TEST_F(FilePaths, DeleteDirectoryWorksOnTheRealPathOfAWritableMount) {
    folder.Write("ro/d/f", "1");
    folder.Write("rw/d/f", "2");
    folder.Write("a.va", RawArchive({{"d/f", "3"}}));
    Mount("mnt", "rw/", true);
    Mount("mnt", "ro/");
    Mount("arc", "a.va", true);
    EXPECT_TRUE(File::DeleteDirectory("mnt:d"));
    EXPECT_FALSE(folder.Has("rw/d"));
    EXPECT_FALSE(File::DeleteDirectory("mnt:d"));
    EXPECT_FALSE(File::DeleteDirectory("arc:d"));
    ExpectContents({{"ro/d/f", "1"}, {"arc:d/f", "3"}});
}

}  // namespace
}  // namespace Vorn::Testing
