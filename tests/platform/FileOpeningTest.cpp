#include <sys/stat.h>

#include "platform/Error.h"
#include "platform/Files.h"
#include "tests/support/Tests.h"

namespace platform {
namespace {

using namespace Vorn::Testing;
using enum Creation;

using FileOpening = InFolder;

bool Open(const char* path, Access access, Creation creation) {
    FileHandle file;
    return file.Open(path, access, creation, Share::DenyNone);
}

TEST_F(FileOpening, CreationModes) {
    // Whether "Name" exists before (with "old"), whether it opens, its content afterwards.
    for (const auto& [creation, existing, opens, contents, error] :
         Table<Creation, bool, bool, const char*, ErrorKind>{
             {OpenExisting, true, true, "old", ErrorKind::None},
             {OpenExisting, false, false, "", ErrorKind::NotFound},
             {CreateOrTruncate, true, true, "", ErrorKind::None},
             {CreateOrTruncate, false, true, "", ErrorKind::None},
             {OpenOrCreate, true, true, "old", ErrorKind::None},
             {OpenOrCreate, false, true, "", ErrorKind::None},
             {CreateNew, true, false, "old", ErrorKind::Exists},
             {CreateNew, false, true, "", ErrorKind::None}}) {
        SCOPED_TRACE(testing::Message() << static_cast<int>(creation) << existing);
        fs::remove("Name");
        if (existing) folder.Write("Name", "old");
        const bool isOpen = Open("Name", Access::ReadWrite, creation);
        EXPECT_EQ(isOpen ? ErrorKind::None : LastError().kind, error);
        EXPECT_EQ(isOpen, opens);
        EXPECT_EQ(folder.Has("Name"), existing || opens);
        EXPECT_EQ(folder.Read("Name"), contents);
    }
}

TEST_F(FileOpening, LookedUpWithoutCaseButCreatedAsNamed) {
    folder.Write("Name", "old");
    EXPECT_TRUE(Open("NAME", Access::Read, OpenExisting));
    EXPECT_TRUE(Open(".\\NAME", Access::Write, OpenOrCreate));
    EXPECT_FALSE(folder.Has("NAME"));
    EXPECT_TRUE(Open("NAME", Access::Write, CreateOrTruncate));
    EXPECT_TRUE(folder.Has("NAME"));
    EXPECT_TRUE(Open("nAmE", Access::Write, CreateNew));
    EXPECT_EQ(folder.Read("Name"), "old");
}

TEST_F(FileOpening, OnlyFilesAndCharacterDevicesAndNoWritingToReadOnlyOnes) {
    ASSERT_EQ(mkfifo("pipe", 0666), 0);
    fs::create_directory("folder");
    for (const Access access : {Access::Read, Access::Write, Access::ReadWrite}) {
        EXPECT_FALSE(Open("pipe", access, OpenExisting));
        EXPECT_FALSE(Open("folder", access, OpenExisting));
        EXPECT_EQ(LastError().kind, ErrorKind::Denied);
        EXPECT_FALSE(Open("", access, OpenOrCreate));
        EXPECT_TRUE(Open("/dev/null", access, CreateOrTruncate));
    }
    folder.Write("fixed", "kept", fs::perms::owner_read);
    for (const Creation creation : {OpenExisting, OpenOrCreate, CreateOrTruncate}) {
        EXPECT_FALSE(Open("fixed", Access::Write, creation));
        EXPECT_EQ(LastError().kind, ErrorKind::Denied);
    }
    EXPECT_TRUE(Open("fixed", Access::Read, OpenExisting));
    EXPECT_EQ(folder.Read("fixed"), "kept");
}

TEST_F(FileOpening, HandlesMoveAndClose) {
    FileHandle first;
    ASSERT_TRUE(first.Open("a", Access::Write, CreateNew, Share::DenyAll));
    EXPECT_FALSE(first.Open("b", Access::Write, CreateNew, Share::DenyAll));
    EXPECT_FALSE(folder.Has("b"));
    FileHandle second = std::move(first);
    EXPECT_TRUE(second.IsOpen());
    EXPECT_FALSE(Open("a", Access::Read, OpenExisting));
    second = FileHandle();
    EXPECT_TRUE(Open("a", Access::Read, OpenExisting));
}

class ShareModes : public InFolder {
protected:
    ShareModes() { folder.Write("f", "kept"); }
};

constexpr Access kAccesses[] = {Access::Read, Access::Write, Access::ReadWrite};
constexpr Share kShares[] = {Share::DenyAll, Share::DenyWrite, Share::DenyNone};

bool Denies(Share share, Access access) {
    return share == Share::DenyAll || (share == Share::DenyWrite && access != Access::Read);
}

enum Outcome { kOpened, kBusy, kOtherError };

Outcome TryOpen(Access access, Share share, Creation creation = OpenExisting,
                const char* path = "f") {
    FileHandle file;
    if (file.Open(path, access, creation, share)) return kOpened;
    return LastError().kind == ErrorKind::Busy ? kBusy : kOtherError;
}

TEST_F(ShareModes, EveryPairOfOpenersAgreesOrNot) {
    for (int pair = 0; pair < 81; ++pair) {
        const Access access = kAccesses[pair % 3];
        const Share share = kShares[pair / 3 % 3];
        const Access access2 = kAccesses[pair / 9 % 3];
        const Share share2 = kShares[pair / 27];
        SCOPED_TRACE(pair);
        FileHandle first;
        ASSERT_TRUE(first.Open("f", access, OpenExisting, share));
        const bool refused = Denies(share, access2) || Denies(share2, access);
        EXPECT_EQ(TryOpen(access2, share2), refused ? kBusy : kOpened);
        EXPECT_EQ(InChild([&] { return TryOpen(access2, share2); }), refused ? kBusy : kOpened);
    }
    EXPECT_EQ(TryOpen(Access::ReadWrite, Share::DenyAll), kOpened);
}

TEST_F(ShareModes, ABriefReaderIsRefusedBesideAWriterAndDeniesNothing) {
    FileHandle writer;
    ASSERT_TRUE(writer.Open("f", Access::Write, OpenExisting, Share::DenyNone));
    EXPECT_EQ(TryOpen(Access::Read, Share::CheckOnly), kBusy);
    writer.Close();
    FileHandle reader;
    ASSERT_TRUE(reader.Open("f", Access::Read, OpenExisting, Share::CheckOnly));
    EXPECT_EQ(TryOpen(Access::Read, Share::CheckOnly), kOpened);
    EXPECT_EQ(TryOpen(Access::ReadWrite, Share::DenyAll), kOpened);
}

TEST_F(ShareModes, ARefusedOpenerTruncatesNothingAndDevicesAreShared) {
    FileHandle reader;
    ASSERT_TRUE(reader.Open("f", Access::Read, OpenExisting, Share::DenyWrite));
    EXPECT_EQ(TryOpen(Access::Write, Share::DenyNone, CreateOrTruncate), kBusy);
    EXPECT_EQ(folder.Read("f"), "kept");
    reader.Close();
    EXPECT_EQ(TryOpen(Access::Write, Share::DenyNone, CreateOrTruncate), kOpened);
    EXPECT_EQ(folder.Read("f"), "");

    FileHandle device;
    ASSERT_TRUE(device.Open("/dev/null", Access::Write, OpenExisting, Share::DenyAll));
    EXPECT_EQ(TryOpen(Access::Write, Share::DenyAll, OpenExisting, "/dev/null"), kOpened);
}

TEST_F(ShareModes, RacingOpenersNeverBothHoldTheFile) {
    std::atomic<int> inside = 0;
    std::atomic<int> together = 0;
    std::atomic<int> opened = 0;
    InThreads(4, [&](std::size_t) {
        for (int round = 0; round < 100; ++round) {
            FileHandle file;
            if (!file.Open("f", Access::Write, OpenExisting, Share::DenyAll)) continue;
            together += inside.fetch_add(1) != 0 ? 1 : 0;
            std::this_thread::yield();
            --inside;
            ++opened;
        }
    });
    EXPECT_EQ(together, 0);
    EXPECT_GT(opened, 0);
}

}  // namespace
}  // namespace platform
