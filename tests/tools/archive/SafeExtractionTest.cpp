// Archives whose member names lead out of the folder in which they are unpacked.
#include "tests/KernelStandard/FileLayer.h"
#include "tests/tools/archive/ArchiveProgram.h"

namespace Vorn::Testing {
namespace {

class SafeExtraction : public ArchiveProgram {
protected:
    SafeExtraction() {
        Write({{"away/kept", "kept"}, {"kept", "kept"}, {"work/here/kept", "kept"}});
        fs::create_directory("away/empty");
        fs::create_directory_symlink("../away", "work/out");
        fs::create_directory_symlink(folder.Path("away"), "work/full");
        fs::create_directory_symlink("../../away", "work/here/up");
        fs::create_symlink("../away/kept", "work/file");
        fs::create_symlink("../away/unborn", "work/dangling");
        outside_ = Outside();
    }

    // Returns all files but those of the folder "work".
    [[nodiscard]] static Files Outside() {
        Files files = FilesIn(".");
        std::erase_if(files, [](const auto& file) { return file.first.starts_with("work/"); });
        return files;
    }
    [[nodiscard]] Outcome RunAtWork(const std::string& words) const {
        return Run(words, "cd work && exec");
    }

    Files outside_;
};

TEST_F(SafeExtraction, NothingOutsideChangesAndTheOtherMembersAreExtracted) {
    const std::string root = folder.Path();
    // A member, and what leads it out of the folder: its name, or a link in the folder.
    enum Leader : std::uint8_t { kName, kLink };
    const Table<std::string, Leader> rows = {
        {"../kept", kName},
        {"../new", kName},
        {"../away/kept", kName},
        {"../away/new", kName},
        {"../fresh/new", kName},
        {"..\\kept", kName},
        {"..\\away\\new", kName},
        {"./../kept", kName},
        {".\\..\\new", kName},
        {"here/../../kept", kName},
        {"here\\..\\..\\new", kName},
        {"here/./../../new", kName},
        {"here/none/../../../new", kName},
        {"none/../../new", kName},
        {"../../new", kName},
        {"../work"s + "/../new", kName},
        {"..//new", kName},
        {"../", kName},
        {"here/../../away/kept", kName},
        {"..\\../kept", kName},
        {"C:\\new", kName},
        {"C:/new", kName},
        {"C:new", kName},
        {"c:..\\kept", kName},
        {"out/kept", kLink},
        {"out/new", kLink},
        {"out/fresh/new", kLink},
        {"full/kept", kLink},
        {"out\\new", kName},
        {"here/up/new", kLink},
        {"file", kLink},
        {"dangling", kLink},
        {root + "/kept", kName},
        {root + "/new", kName},
        {root + "/away/kept", kName},
        {root + "/fresh/new", kName},
        {"/" + root + "/new", kName},
        {"//" + root + "/kept", kName},
        {"\\" + root.substr(1) + "/new", kName},
        {"C:" + root + "/new", kName},
    };
    for (const auto& [name, leader] : rows) {
        SCOPED_TRACE(name);
        folder.Write("work/x.va", RawArchive({{"a", "first"}, {name, "evil"}, {"z", "last"}}));
        const Outcome all = RunAtWork("-r -k e x.va");
        EXPECT_TRUE(Outside() == outside_);
        EXPECT_EQ(CountOf("Error, ", all.printed) + CountOf("cannot read", all.problems), 1U)
            << all.printed << all.problems;
        EXPECT_EQ(all.exitCode, 1) << "every refused member is reported";
        EXPECT_EQ(folder.Read("work/a") + folder.Read("work/z"), "firstlast");
        EXPECT_EQ(CountOf("Error, Destination leaves the folder!\n", all.printed),
                  leader == kLink ? 1U : 0U);
        fs::remove("work/a");
        fs::remove("work/z");
        // Only what lies outside is checked: some of these commands may succeed.
        for (const std::string command : {"e", "-k e", "-n e", "-k -pnew e", "l", "b", "-k a"}) {
            (void)RunAtWork(command + " x.va '" + name + "'");
            EXPECT_TRUE(Outside() == outside_) << command;
        }
    }
}

TEST_F(SafeExtraction, LinksThatStayInsideAreFollowedAndANamedFolderMayBeAnywhere) {
    fs::create_directory_symlink("here", "work/inner");
    folder.Write("work/x.va", RawArchive({{"inner/new", "1"}, {"here/../folded", "2"}}));
    EXPECT_EQ(RunAtWork("-k e x.va inner/new").exitCode, 0);
    EXPECT_EQ(folder.Read("work/here/new"), "1");
    EXPECT_EQ(RunAtWork("-p../away/ e x.va inner/new").exitCode, 0);
    EXPECT_EQ(Outside().size(), outside_.size() + 1);
}

TEST_F(SafeExtraction, ExistingFilesAreReplacedAndNotWrittenThrough) {
    fs::create_hard_link("away/kept", "work/twin");
    fs::create_symlink("here/kept", "work/near");
    folder.Write("work/x.va", RawArchive({{"twin", "1"}, {"near", "2"}}));
    outside_ = Outside();
    EXPECT_EQ(RunAtWork("e x.va").exitCode, 0);
    EXPECT_TRUE(Outside() == outside_);
    EXPECT_EQ(folder.Read("work/twin") + folder.Read("work/near"), "12");
    EXPECT_EQ(folder.Read("work/here/kept"), "kept");
    fs::permissions("work/twin", fs::perms::owner_all);
    EXPECT_EQ(RunAtWork("e x.va").exitCode, 0);
    EXPECT_EQ(fs::status("work/twin").permissions(), fs::perms::owner_all);
}

TEST_F(SafeExtraction, AStreamThatEndsTooSoonReplacesNothing) {
    folder.Write("work/twin", "1");
    folder.Write("work/x.va",
                 RawArchive({{"twin", "CFIL\1\1\0\0\xFF\xFF\0\0"s + Noise(9), 65535},
                             {"none", "CFIL\1\1\0\0\xFF\xFF\0\0"s + Noise(9), 65535}}));
    EXPECT_EQ(RunAtWork("e x.va").exitCode, 1);
    EXPECT_EQ(folder.Read("work/twin"), "1");
    EXPECT_FALSE(folder.Has("work/none"));
}

TEST_F(SafeExtraction, FoldersMayHaveAColonInTheirNames) {
    Write({{"ww:x/in/f", "right"}, {"x/in/f", "wrong"}, {"ww:x/list", "l ww:x/t.va\n"}});
    Do("a ww:x/t.va ww:x/in/f");
    EXPECT_EQ(Unpack("ww:x/t.va"), (Files{{"f", "right"}}));
    EXPECT_THAT(Do("@ww:x/list l ww:x/t.va"), HasSubstr(" .. .\\f\n"));
    Do("-pto:1/be e ww:x/t.va");
    EXPECT_EQ(folder.Read("to:1/be/to:1/be/f"), "right");
}

TEST_F(SafeExtraction, TheArchiveItselfIsNeitherAddedNorOverwritten) {
    Write({{"work/a.txt", "a"}});
    for (const std::string words : {"a x.va a.txt x.va", "a x.va ./x.va", "a x.va a.txt"}) {
        (void)RunAtWork(words);
    }
    EXPECT_EQ(NamesIn(Unpack("work/x.va")), Names{"a.txt"});
    folder.Write("work/x.va", RawArchive({{"x.va", "evil"}}));
    const std::string before = folder.Read("work/x.va");
    EXPECT_EQ(RunAtWork("e x.va").exitCode, 1);
    EXPECT_EQ(folder.Read("work/x.va"), before);
}

}  // namespace
}  // namespace Vorn::Testing
