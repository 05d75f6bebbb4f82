#include <cerrno>

#include "platform/Directories.h"
#include "platform/Files.h"
#include "tests/platform/TemporaryFolder.h"

namespace platform {
namespace {

using FileOpening = TemporaryFolder;

bool Open(const std::string& path, Access access, Creation creation) {
    FileHandle file;
    errno = 0;
    return file.Open(path.c_str(), access, creation, Share::DenyNone);
}

TEST_F(FileOpening, CreationModes) {
    using enum Creation;
    const struct {
        Creation creation;
        bool existing;  // a file "Name" with "old" is there
        bool opens;
        const char* contents;  // of "Name" afterwards
        int error;
    } rows[] = {
        {OpenExisting, true, true, "old", 0},    {OpenExisting, false, false, "", ENOENT},
        {CreateOrTruncate, true, true, "", 0},   {CreateOrTruncate, false, true, "", 0},
        {OpenOrCreate, true, true, "old", 0},    {OpenOrCreate, false, true, "", 0},
        {CreateNew, true, false, "old", EEXIST}, {CreateNew, false, true, "", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << static_cast<int>(row.creation) << row.existing);
        std::filesystem::remove(At("Name"));
        if (row.existing) {
            Put("Name", "old");
        }
        EXPECT_EQ(Open(At("Name"), Access::ReadWrite, row.creation), row.opens);
        EXPECT_EQ(row.opens ? 0 : errno, row.error);
        EXPECT_EQ(std::filesystem::exists(At("Name")), row.existing || row.opens);
        EXPECT_EQ(ContentsOf("Name"), row.contents);
    }
}

TEST_F(FileOpening, LookedUpWithoutCaseButCreatedAsNamed) {
    Put("Name", "old");
    EXPECT_TRUE(Open(At("NAME"), Access::Read, Creation::OpenExisting));
    EXPECT_TRUE(Open(folder_ + "\\NAME", Access::Write, Creation::OpenOrCreate));
    EXPECT_FALSE(std::filesystem::exists(At("NAME")));
    EXPECT_TRUE(Open(At("NAME"), Access::Write, Creation::CreateOrTruncate));
    EXPECT_TRUE(std::filesystem::exists(At("NAME")));
    EXPECT_TRUE(Open(At("nAmE"), Access::Write, Creation::CreateNew));
    EXPECT_EQ(ContentsOf("Name"), "old");
}

TEST_F(FileOpening, OnlyFilesAndCharacterDevices) {
    ASSERT_EQ(mkfifo(At("pipe").c_str(), 0666), 0);
    ASSERT_TRUE(MakeDirectory(At("folder").c_str()));
    for (const Access access : {Access::Read, Access::Write, Access::ReadWrite}) {
        EXPECT_FALSE(Open(At("pipe"), access, Creation::OpenExisting));
        EXPECT_FALSE(Open(At("folder"), access, Creation::OpenExisting));
        EXPECT_EQ(errno, EISDIR);
        EXPECT_FALSE(Open("", access, Creation::OpenOrCreate));
        EXPECT_TRUE(Open("/dev/null", access, Creation::CreateOrTruncate));
    }
}

TEST_F(FileOpening, ReadOnlyFilesDoNotOpenForWriting) {
    Put("fixed", "kept", 0444);
    for (const Creation creation :
         {Creation::OpenExisting, Creation::OpenOrCreate, Creation::CreateOrTruncate}) {
        EXPECT_FALSE(Open(At("fixed"), Access::Write, creation));
        EXPECT_EQ(errno, EACCES);
    }
    EXPECT_TRUE(Open(At("fixed"), Access::Read, Creation::OpenExisting));
    EXPECT_EQ(ContentsOf("fixed"), "kept");
}

TEST_F(FileOpening, HandlesMoveAndClose) {
    FileHandle first;
    ASSERT_TRUE(first.Open(At("a").c_str(), Access::Write, Creation::CreateNew, Share::DenyAll));
    EXPECT_FALSE(first.Open(At("b").c_str(), Access::Write, Creation::CreateNew, Share::DenyAll));
    EXPECT_FALSE(std::filesystem::exists(At("b")));
    FileHandle second = std::move(first);
    EXPECT_TRUE(second.IsOpen());
    EXPECT_FALSE(Open(At("a"), Access::Read, Creation::OpenExisting));
    second = FileHandle();
    EXPECT_TRUE(Open(At("a"), Access::Read, Creation::OpenExisting));
}

}  // namespace
}  // namespace platform
