#include "platform/Directories.h"
#include "platform/Error.h"
#include "platform/Processes.h"
#include "platform/posix/PathLookup.h"
#include "tests/support/Tests.h"

namespace platform {
namespace {

using namespace Vorn::Testing;

constexpr fs::perms kReadOnly = fs::perms::owner_read;

using Directories = InFolder;

TEST_F(Directories, EntriesComeInByteOrderWithTheirStatus) {
    ASSERT_TRUE(MakeDirectory("sub"));
    folder.Write("b", "12");
    folder.Write("A", "123", kReadOnly);
    fs::create_symlink("b", "link");
    fs::create_symlink("absent", "broken");
    std::vector<std::string> names;
    std::map<std::string, DirectoryEntry> entries;
    EXPECT_TRUE(ListDirectory((folder.Path() + "\\").c_str(), [&](const DirectoryEntry& entry) {
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
    EXPECT_TRUE(ListDirectory(".", [&](const DirectoryEntry&) { return ++visits < 3; }));
    EXPECT_EQ(visits, 3);
    EXPECT_FALSE(ListDirectory("b", [](const DirectoryEntry&) { return true; }));
}

TEST_F(Directories, RenamingNeverReplaces) {
    folder.Write("a", "from a");
    folder.Write("b", "from b");
    ASSERT_TRUE(MakeDirectory("empty") && MakeDirectory("empty2"));
    EXPECT_FALSE(Rename("a", "b"));
    EXPECT_FALSE(Rename("empty", "empty2"));
    EXPECT_EQ(folder.Read("b"), "from b");
    EXPECT_FALSE(Rename("A", "c"));  // names are exact here
    EXPECT_TRUE(Rename(".\\a", ".\\empty\\A"));
    EXPECT_TRUE(Rename("empty", "full"));
    EXPECT_EQ(folder.Read("full/A"), "from a");
}

TEST_F(Directories, ReplacingTakesAFileOrALinkButNothingReadOnly) {
    folder.Write("new", "new");
    folder.Write("old", "old");
    folder.Write("kept", "kept", kReadOnly);
    ASSERT_TRUE(MakeDirectory("folder"));
    fs::create_symlink("old", "link");
    EXPECT_FALSE(RenameOver("new", "kept"));
    EXPECT_FALSE(RenameOver("new", "folder"));
    EXPECT_TRUE(RenameOver("new", "link"));
    EXPECT_EQ(folder.Read("link") + folder.Read("old"), "newold");
    EXPECT_TRUE(RenameOver("link", "old"));
    EXPECT_EQ(folder.Read("old"), "new");
    EXPECT_FALSE(Exists("link"));
    EXPECT_TRUE(RenameOver("old", "fresh"));
}

TEST_F(Directories, RemovalIsExactAndRespectsReadOnly) {
    folder.Write("f", "");
    ASSERT_TRUE(MakeDirectory("d"));
    EXPECT_FALSE(MakeDirectory("d"));
    EXPECT_FALSE(RemoveFile("F") || RemoveFile("d"));
    EXPECT_FALSE(RemoveEmptyDirectory("f"));
    EXPECT_TRUE(SetReadOnly("F", true));
    EXPECT_FALSE(RemoveFile("f"));
    EXPECT_TRUE(SetReadOnly("f", false));
    FileStatus status;
    EXPECT_TRUE(GetStatus("f", status));
    EXPECT_EQ(status.attributes, 0);
    folder.Write("d/x", "");
    EXPECT_FALSE(RemoveEmptyDirectory("d"));
    EXPECT_TRUE(RemoveFile("d\\x") && RemoveEmptyDirectory("d") && RemoveFile("f"));
    EXPECT_FALSE(SetHidden("f", true) || SetReadOnly("f", true));
}

TEST_F(Directories, LinksAreSeenAndFollowed) {
    folder.Write("Sub/file", "");
    fs::create_symlink("Sub", "link");
    fs::create_symlink("absent", "broken");
    fs::create_hard_link("Sub/file", "other");
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    using enum EntryKind;
    for (const auto& [path, kind, real] :
         Table<const char*, EntryKind, std::string>{{"link", Link, "/Sub"},
                                                    {"link\\file", File, "/Sub/file"},
                                                    {"broken", Link, ""},
                                                    {"sub", None, ""},
                                                    {"Sub/../Sub/.", Directory, "/Sub"},
                                                    {"pipe", Other, "/pipe"}}) {
        EXPECT_EQ(GetEntryKind(path), kind) << path;
        EXPECT_EQ(RealPath(path), real.empty() ? "" : CurrentDirectory() + real) << path;
    }
    EXPECT_TRUE(IsSameFile("other", "LINK/FILE") && IsSameFile("link", "Sub"));
    EXPECT_FALSE(IsSameFile("link", "Sub/file") || IsSameFile("absent", "absent"));
}

TEST_F(Directories, EveryLevelIsMadeWhateverItsName) {
    folder.Write("file", "");
    for (const char* path : {"ww:x\\y", "ww:", "c:/d", "e//f/", ".", "", "./p/../q"}) {
        EXPECT_TRUE(MakeDirectories(path)) << path;
    }
    for (const char* path : {"ww:x/y", "ww:", "c:/d", "e/f", "p", "q"}) {
        EXPECT_TRUE(fs::is_directory(path)) << path;
    }
    EXPECT_FALSE(MakeDirectories("file") || MakeDirectories("file/below"));
}

TEST_F(Directories, ATreeGoesWithWhatItsEntriesNameAndNothingElse) {
    // A plain file name on this system, but a path to the layer, which takes both separators.
    for (const char* name : {"t/..\\victim", "t/sub/..\\..\\victim", "t/a:b", "victim", "keep/f"}) {
        folder.Write(name, "");
    }
    folder.Write("t/locked", "", kReadOnly);
    folder.Write("..\\keep/f", "");
    fs::rename("..\\keep", "t/..\\keep");
    fs::create_symlink("../keep", "t/link");
    fs::create_symlink("nowhere", "t/broken");
    fs::create_hard_link("t/locked", "shared");
    fs::create_symlink("keep", "link");
    EXPECT_FALSE(RemoveTree("victim") || RemoveTree("missing") || RemoveTree("T"));
    EXPECT_TRUE(RemoveTree("t\\") && RemoveTree("link/"));
    EXPECT_FALSE(fs::exists("t") || fs::is_symlink("link"));
    EXPECT_TRUE(folder.Has("victim") && folder.Has("keep/f"));
    EXPECT_EQ(fs::status("shared").permissions(), kReadOnly)
        << "a hard link elsewhere still uses the file";

    // As another user, because root may do everything.
    const auto removesOpen = [] {
        return setuid(65534) == 0 && !RemoveTree("closed") && LastError().kind == ErrorKind::Denied
                   ? 0
                   : 1;
    };
    folder.Write("closed/in/f", "");
    fs::permissions(".", fs::perms::all);
    fs::permissions("closed/in", fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_EQ(geteuid() == 0 ? InChild(removesOpen) : 0, 0);
    EXPECT_TRUE(folder.Has("closed/in/f"));
}

TEST_F(Directories, TemporaryDirectoryEndsInASeparator) {
    std::string before;
    const bool wasSet = GetEnvironment("TMPDIR", before);
    for (const auto& [value, directory] : Table<const char*, const char*>{
             {"/x", "/x/"},
             {"/x/", "/x/"},
             {"", "/tmp/"},
         }) {
        setenv("TMPDIR", value, 1);
        EXPECT_EQ(TemporaryDirectory(), directory);
    }
    wasSet ? setenv("TMPDIR", before.c_str(), 1) : unsetenv("TMPDIR");
}

TEST_F(Directories, AreLookedUpByExactNameThenByLetterCase) {
    for (const char* name : {"b.txt", "B.txt", "\xC9t\xE9.TXT", "only"}) {
        folder.Write("Data/"s + name, "12345");
    }
    // The third: of several, the first in byte order.
    for (const auto& [path, found] : Table<std::string, std::string>{
             {"Data/b.txt", "Data/b.txt"},
             {"Data/B.txt", "Data/B.txt"},
             {"data/b.TXT", "Data/B.txt"},
             {"DATA\\ONLY", "Data/only"},
             {"data//only", "Data//only"},
             {"data/./../dAtA/only", "Data/./../Data/only"},
             {"data/\xE9T\xC9.txt", "Data/\xC9t\xE9.TXT"},
             {"data/only/", "Data/only/"},
             {"data/onl", "data/onl"},
             {"data/absent\\b.txt", "data/absent/b.txt"},
         }) {
        for (const std::string& root : {""s, folder.Path() + "/"}) {
            EXPECT_EQ(posix::FindExistingPath((root + path).c_str()), root + found);
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

TEST_F(Directories, PrivateOnesAreNewAndClosedToOthers) {
    const std::string prefix = folder.Path("private-");
    const std::string first = MakePrivateDirectory(prefix);
    const std::string second = MakePrivateDirectory(prefix);
    EXPECT_NE(first, second);
    for (const std::string& path : {first, second}) {
        EXPECT_TRUE(path.starts_with(prefix)) << path;
        EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_all);
        EXPECT_TRUE(CommitDirectory(path.c_str()));
    }
    EXPECT_EQ(MakePrivateDirectory(folder.Path("absent/private-")), "");
    EXPECT_FALSE(CommitDirectory("absent"));
}

}  // namespace
}  // namespace platform
