#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <thread>
#include <vector>

#include "platform/Files.h"
#include "tests/platform/TemporaryFolder.h"

namespace platform {
namespace {

using ShareModes = TemporaryFolder;

constexpr Access kAccesses[] = {Access::Read, Access::Write, Access::ReadWrite};
constexpr Share kShares[] = {Share::DenyAll, Share::DenyWrite, Share::DenyNone};

bool Denies(Share share, Access access) {
    return share == Share::DenyAll || (share == Share::DenyWrite && access != Access::Read);
}

enum Outcome { kOpened, kBusy, kOtherError };

Outcome TryOpen(const std::string& path, Access access, Share share) {
    FileHandle file;
    if (file.Open(path.c_str(), access, Creation::OpenExisting, share)) {
        return kOpened;
    }
    return errno == EBUSY ? kBusy : kOtherError;
}

Outcome TryOpenInChild(const std::string& path, Access access, Share share) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(TryOpen(path, access, share));
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status)
               ? static_cast<Outcome>(WEXITSTATUS(status))
               : kOtherError;
}

TEST_F(ShareModes, EveryPairOfOpenersAgreesOrNot) {
    const std::string path = Put("f", "x");
    int pairs = 0;
    for (const Access access : kAccesses) {
        for (const Share share : kShares) {
            FileHandle first;
            ASSERT_TRUE(first.Open(path.c_str(), access, Creation::OpenExisting, share));
            for (const Access access2 : kAccesses) {
                for (const Share share2 : kShares) {
                    SCOPED_TRACE(testing::Message()
                                 << static_cast<int>(access) << static_cast<int>(share)
                                 << static_cast<int>(access2) << static_cast<int>(share2));
                    const bool refused = Denies(share, access2) || Denies(share2, access);
                    EXPECT_EQ(TryOpen(path, access2, share2), refused ? kBusy : kOpened);
                    EXPECT_EQ(TryOpenInChild(path, access2, share2), refused ? kBusy : kOpened);
                    ++pairs;
                }
            }
        }
    }
    EXPECT_EQ(pairs, 81);
    EXPECT_EQ(TryOpen(path, Access::ReadWrite, Share::DenyAll), kOpened);
}

TEST_F(ShareModes, ARefusedOpenerTruncatesNothing) {
    const std::string path = Put("f", "kept");
    FileHandle reader;
    ASSERT_TRUE(reader.Open(path.c_str(), Access::Read, Creation::OpenExisting, Share::DenyWrite));
    FileHandle writer;
    EXPECT_FALSE(
        writer.Open(path.c_str(), Access::Write, Creation::CreateOrTruncate, Share::DenyNone));
    EXPECT_EQ(errno, EBUSY);
    EXPECT_FALSE(writer.IsOpen());
    EXPECT_EQ(ContentsOf("f"), "kept");
    reader.Close();
    EXPECT_TRUE(
        writer.Open(path.c_str(), Access::Write, Creation::CreateOrTruncate, Share::DenyNone));
    EXPECT_EQ(ContentsOf("f"), "");
}

TEST_F(ShareModes, DevicesAreSharedByAll) {
    FileHandle first;
    ASSERT_TRUE(first.Open("/dev/null", Access::Write, Creation::OpenExisting, Share::DenyAll));
    EXPECT_EQ(TryOpen("/dev/null", Access::Write, Share::DenyAll), kOpened);
}

TEST_F(ShareModes, RacingOpenersNeverBothHoldTheFile) {
    const std::string path = Put("f", "x");
    std::atomic<int> inside = 0;
    std::atomic<int> together = 0;
    std::atomic<int> opened = 0;
    std::vector<std::thread> threads(4);
    for (std::thread& thread : threads) {
        thread = std::thread([&] {
            for (int round = 0; round < 100; ++round) {
                FileHandle file;
                if (file.Open(path.c_str(), Access::Write, Creation::OpenExisting,
                              Share::DenyAll)) {
                    together += inside.fetch_add(1) != 0 ? 1 : 0;
                    std::this_thread::yield();
                    --inside;
                    ++opened;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(together, 0);
    EXPECT_GT(opened, 0);
}

}  // namespace
}  // namespace platform
