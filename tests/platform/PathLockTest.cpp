#include "platform/PathLock.h"

#include "tests/support/Tests.h"

namespace platform {
namespace {

using namespace Vorn::Testing;
using Result = PathLock::Result;

using PathLocks = InFolder;

TEST_F(PathLocks, OneHolderAtATimeAndNothingIsLeft) {
    PathLock first;
    PathLock second;
    EXPECT_EQ(first.TryAcquire("lock"), Result::Held);
    EXPECT_EQ(second.TryAcquire((folder.Path() + "\\lock").c_str()), Result::Busy);
    EXPECT_EQ(second.TryAcquire("other"), Result::Held);
    first.Release();
    EXPECT_EQ(second.TryAcquire("lock"), Result::Held);
    EXPECT_FALSE(folder.Has("other"));
    second.Release();
    EXPECT_TRUE(fs::is_empty(folder.Path()));
}

TEST_F(PathLocks, EndsWithItsProcess) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t holder = fork();
    if (holder == 0) {
        PathLock held;
        const char result = held.TryAcquire("lock") == Result::Held ? 'h' : 'x';
        if (write(ready[1], &result, 1) == 1) pause();
        _exit(1);
    }
    char result = 0;
    ASSERT_EQ(read(ready[0], &result, 1), 1);
    EXPECT_EQ(result, 'h');
    PathLock lock;
    EXPECT_EQ(lock.TryAcquire("lock"), Result::Busy);
    kill(holder, SIGKILL);
    int status = 0;
    ASSERT_EQ(waitpid(holder, &status, 0), holder);
    EXPECT_TRUE(folder.Has("lock"));
    EXPECT_EQ(lock.TryAcquire("lock"), Result::Held);
    for (const int end : ready) close(end);
}

// The holder removes the file while others have it open.
TEST_F(PathLocks, NeverTwoHoldersUnderCompetition) {
    std::atomic<int> holders = 0;
    std::atomic<int> most = 0;
    std::atomic<int> taken = 0;
    InThreads(4, [&](std::size_t) {
        for (int i = 0; i < 3000; ++i) {
            PathLock lock;
            if (lock.TryAcquire("lock") != Result::Held) continue;
            const int now = ++holders;
            if (now > most) most = now;
            ++taken;
            std::this_thread::yield();
            --holders;
        }
    });
    EXPECT_EQ(most, 1);
    EXPECT_GT(taken, 0);
}

TEST_F(PathLocks, FilesOfOthersAreNotTouched) {
    folder.Write("mine", "precious");
    fs::create_symlink("victim", "link");
    fs::create_directory("folder");
    PathLock lock;
    for (const char* path : {"mine", "link", "folder", "absent/lock"}) {
        EXPECT_EQ(lock.TryAcquire(path), Result::Failed) << path;
        lock.Release();
    }
    EXPECT_EQ(folder.Read("mine"), "precious");
    EXPECT_TRUE(fs::is_symlink("link") && fs::is_directory("folder"));
    EXPECT_FALSE(folder.Has("victim"));
}

}  // namespace
}  // namespace platform
