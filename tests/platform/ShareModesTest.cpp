#include <cerrno>

#include "platform/Files.h"
#include "tests/support/Tests.h"

namespace platform {
namespace {

using namespace Vorn::Testing;

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

Outcome TryOpen(Access access, Share share, Creation creation = Creation::OpenExisting,
                const char* path = "f") {
    FileHandle file;
    if (file.Open(path, access, creation, share)) return kOpened;
    return errno == EBUSY ? kBusy : kOtherError;
}

TEST_F(ShareModes, EveryPairOfOpenersAgreesOrNot) {
    int pairs = 0;
    for (int pair = 0; pair < 81; ++pair) {
        const Access access = kAccesses[pair % 3];
        const Share share = kShares[pair / 3 % 3];
        const Access access2 = kAccesses[pair / 9 % 3];
        const Share share2 = kShares[pair / 27];
        SCOPED_TRACE(pair);
        FileHandle first;
        ASSERT_TRUE(first.Open("f", access, Creation::OpenExisting, share));
        const bool refused = Denies(share, access2) || Denies(share2, access);
        EXPECT_EQ(TryOpen(access2, share2), refused ? kBusy : kOpened);
        EXPECT_EQ(InChild([&] { return TryOpen(access2, share2); }), refused ? kBusy : kOpened);
        ++pairs;
    }
    EXPECT_EQ(pairs, 81);
    EXPECT_EQ(TryOpen(Access::ReadWrite, Share::DenyAll), kOpened);
}

TEST_F(ShareModes, ARefusedOpenerTruncatesNothing) {
    FileHandle reader;
    ASSERT_TRUE(reader.Open("f", Access::Read, Creation::OpenExisting, Share::DenyWrite));
    EXPECT_EQ(TryOpen(Access::Write, Share::DenyNone, Creation::CreateOrTruncate), kBusy);
    EXPECT_EQ(folder.Read("f"), "kept");
    reader.Close();
    EXPECT_EQ(TryOpen(Access::Write, Share::DenyNone, Creation::CreateOrTruncate), kOpened);
    EXPECT_EQ(folder.Read("f"), "");
}

TEST_F(ShareModes, DevicesAreSharedByAll) {
    FileHandle first;
    ASSERT_TRUE(first.Open("/dev/null", Access::Write, Creation::OpenExisting, Share::DenyAll));
    EXPECT_EQ(TryOpen(Access::Write, Share::DenyAll, Creation::OpenExisting, "/dev/null"), kOpened);
}

TEST_F(ShareModes, RacingOpenersNeverBothHoldTheFile) {
    std::atomic<int> inside = 0;
    std::atomic<int> together = 0;
    std::atomic<int> opened = 0;
    InThreads(4, [&](std::size_t) {
        for (int round = 0; round < 100; ++round) {
            FileHandle file;
            if (!file.Open("f", Access::Write, Creation::OpenExisting, Share::DenyAll)) continue;
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
