// A new archive appears under its name when it is whole, and never before.
#include "archive/NewArchive.h"

#include <sys/mount.h>

#include "archive/Error.h"
#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

using archive::ErrorCode;
using archive::NewArchive;

class NewArchives : public InFolder {
protected:
    // Publishes an archive of one member as `path`; the code of the error, if any.
    static std::optional<ErrorCode> Make(const std::string& path, bool replace,
                                         const std::string& content = "content") {
        try {
            NewArchive made(path, 7, 8);
            made.Members().Add({"a.txt"}, std::as_bytes(std::span(content)));
            EXPECT_EQ(made.Complete().Count(), 1U);
            made.Publish(replace);
        } catch (const archive::Error& error) {
            return error.Code();
        }
        return std::nullopt;
    }

    // Names in the current folder or below it, hidden ones included.
    static std::set<std::string> Names(const char* below = ".") {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(below))
            names.insert(entry.path().filename().string());
        return names;
    }
};

TEST_F(NewArchives, AppearWholeAndWithTheirVersions) {
    EXPECT_EQ(Make("a.va", false), std::nullopt);
    const archive::Reader reader("a.va");
    EXPECT_EQ(reader.Header().buildVersion, 7U);
    EXPECT_EQ(reader.Header().productCode, 8U);
    EXPECT_EQ(reader.Index(), archive::IndexState::Whole);
    ASSERT_TRUE(reader.Find("a.txt"));
    EXPECT_EQ(Names(), std::set<std::string>{"a.va"});
}

TEST_F(NewArchives, ThatAreNotPublishedLeaveNothing) {
    {
        NewArchive made("a.va", 0, 0);
        made.Members().Add({"a"}, {});
        (void)made.Complete();
    }
    EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(NewArchives, ReplaceOnlyWhenTheyAreAskedTo) {
    folder.Write("a.va", "mine", fs::perms{0640});
    EXPECT_EQ(Make("a.va", false), ErrorCode::Refused);
    EXPECT_EQ(folder.Read("a.va"), "mine");
    EXPECT_EQ(Make("a.va", true), std::nullopt);
    EXPECT_EQ(fs::status("a.va").permissions(), fs::perms{0640});
    EXPECT_EQ(archive::Reader("a.va").Count(), 1U);

    folder.Write("locked.va", "mine", fs::perms{0444});
    EXPECT_EQ(Make("locked.va", true), ErrorCode::CannotWrite);
    EXPECT_EQ(folder.Read("locked.va"), "mine");
    EXPECT_EQ(Names(), (std::set<std::string>{"a.va", "locked.va"}));
    fs::remove("locked.va");

    folder.Write("target", "mine");
    fs::create_symlink("target", "link.va");
    EXPECT_EQ(Make("link.va", true), std::nullopt);
    EXPECT_EQ(folder.Read("target"), "mine");
    EXPECT_FALSE(fs::is_symlink("link.va"));

    fs::create_directory("folder.va");
    EXPECT_EQ(Make("folder.va", true), ErrorCode::CannotWrite);
    EXPECT_EQ(Names(), (std::set<std::string>{"a.va", "folder.va", "link.va", "target"}));
}

TEST_F(NewArchives, LeaveNothingOnAFullDisk) {
    fs::create_directory("disk");
    if (mount("none", "disk", "tmpfs", 0, "size=64k") != 0) GTEST_SKIP() << "needs mount";
    for (const std::size_t size : {std::size_t{100000}, std::size_t{1000000}}) {
        EXPECT_EQ(Make("disk/a.va", false, Noise(size)), ErrorCode::NoSpace);
        EXPECT_THAT(Names("disk"), IsEmpty());
    }
    EXPECT_EQ(Make("disk/a.va", false), std::nullopt);
    umount("disk");
}

}  // namespace
}  // namespace Vorn::Testing
