#include "tests/KernelStandard/FileLayer.h"

namespace Vorn::Testing {
namespace {

using FilePaths = FileLayer;

TEST_F(FilePaths, TheFileSystemAndAMountServeTheirPaths) {
    Mount("mnt", folder.Path("mounted/"), true);
    EXPECT_TRUE(Store("mnt:a/b/f", "") && folder.Has("mounted/a/b/f"));
    fs::create_directory("plain");
    EXPECT_TRUE(File::ChangeDirectory("plain"));
    for (const std::string& root : {"./"s, "mnt:"s, "mnt:\\"s}) {
        SCOPED_TRACE(root);
        const auto in = [&](const char* path) { return root + path; };
        EXPECT_TRUE(File::MakePath(in("d\\sub").c_str()));
        EXPECT_TRUE(Store(in("d/sub/f"), "x") && Store(in("g"), "y"));
        EXPECT_EQ(File::Exists(in("d\\sub/f").c_str()), RES_OK);
        EXPECT_EQ(File::Exists(in("d").c_str()), RES_OK);
        EXPECT_GT(TimeOf(in("g").c_str()), 1600000000u);
        EXPECT_FALSE(File::Rename(in("d/sub/f").c_str(), in("g").c_str()));
        EXPECT_TRUE(File::Rename(in("d/sub/f").c_str(), in("h").c_str()));
        ExpectContents({{in("g"), "y"}, {in("d/sub/f"), std::nullopt}, {in("h"), "x"}});
        EXPECT_FALSE(File::Delete(in("d").c_str()));
        EXPECT_TRUE(File::Delete(in("h").c_str()));
        EXPECT_FALSE(File::Delete(in("h").c_str()));
    }
    EXPECT_TRUE(fs::is_directory("../mounted/d/sub") && fs::is_directory("d/sub"));
    EXPECT_EQ(File::Exists(Intern("mnt"), "/a/b"), RES_OK);
    EXPECT_EQ(File::Exists(Intern("none"), "../mounted/a"), RES_OK);
    EXPECT_EQ(File::Exists("none:g"), RES_FILENOTFOUND);
}

TEST_F(FilePaths, MakePathCreatesEveryLevel) {
    folder.Write("file", "x");
    const std::string full = folder.Path("x/y/z");
    for (const char* path : {"a", "a/b\\c//d", "a/b", "./p/../q", "ww:x/in", full.c_str()}) {
        EXPECT_TRUE(File::MakePath(path)) << path;
    }
    EXPECT_TRUE(fs::is_directory("ww:x/in") && fs::is_directory("a/b/c/d") &&
                fs::is_directory("q") && fs::is_directory(full));
    for (const std::string& path : {"file"s, "file/below"s, std::string(300, 'l')}) {
        EXPECT_FALSE(File::MakePath(path.c_str())) << path;
    }
}

TEST_F(FilePaths, DeleteDirectoryTakesTheTreeAndNothingElse) {
    folder.Write("keep/f", "x");
    for (const std::string& tree : {"d"s, "ro/d"s, "rw/d"s}) folder.Write(tree + "/sub/f", "1");
    folder.Write("d/..\\victim", "2");
    folder.Write("victim", "2");
    folder.Write("d/locked", "2", fs::perms::owner_read);
    fs::create_symlink("../keep", "d/link");
    fs::create_symlink("nowhere", "d/broken");
    fs::create_directory_symlink("keep", "link");
    folder.Write("a.va", RawArchive({{"d/f", "3"}}));
    Mount("mnt", "rw/", true);
    Mount("mnt", "ro/");
    Mount("arc", "a.va", true);
    for (const auto& [path, deleted, gone] :
         Table<const char*, bool, const char*>{{"d/", true, "d"},
                                               {"link\\", true, "link"},
                                               {"mnt:d", true, "rw/d"},
                                               {"mnt:d", false, "rw/d"},
                                               {"arc:d", false, ""},
                                               {"keep/f", false, ""},
                                               {"missing", false, ""}}) {
        EXPECT_EQ(File::DeleteDirectory(path), deleted) << path;
        EXPECT_TRUE(*gone == '\0' || !fs::exists(fs::symlink_status(gone))) << path;
    }
    ExpectContents({{"keep/f", "x"}, {"victim", "2"}, {"ro/d/sub/f", "1"}, {"arc:d/f", "3"}});
}

}  // namespace
}  // namespace Vorn::Testing
