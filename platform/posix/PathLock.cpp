#include "platform/PathLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/posix/PathLookup.h"

namespace platform {
namespace {

// Returns whether `path` still names the open file `opened`.
bool IsFileAt(const char* path, const struct stat& opened) {
    struct stat found {};
    return lstat(path, &found) == 0 && found.st_dev == opened.st_dev &&
           found.st_ino == opened.st_ino;
}

bool IsWithoutLocks(int error) {
    return error == ENOLCK || error == ENOSYS || error == EOPNOTSUPP || error == EINVAL;
}

}  // namespace

PathLock::~PathLock() { Release(); }

PathLock::Result PathLock::TryAcquire(const char* path) {
    Release();
    path_ = posix::ToSystemPath(path);
    // Each attempt can fail only because a holder removed the file at just that moment.
    constexpr int kAttempts = 100;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        // Read-only suffices for locking, and so a file that another user left can be taken over.
        constexpr mode_t kMode = 0666;
        constexpr int kFlags = O_RDONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
        descriptor_ = open(path_.c_str(), kFlags, kMode);
        struct stat opened {};
        const bool usable = descriptor_ >= 0 && fstat(descriptor_, &opened) == 0 &&
                            S_ISREG(opened.st_mode) && opened.st_size == 0;
        const bool locked =
            usable && (flock(descriptor_, LOCK_EX | LOCK_NB) == 0 || IsWithoutLocks(errno));
        if (locked && IsFileAt(path_.c_str(), opened)) return Result::Held;

        const bool busy = usable && !locked && errno == EWOULDBLOCK;
        if (descriptor_ >= 0) close(std::exchange(descriptor_, -1));
        if (busy) return Result::Busy;
        if (!locked) return Result::Failed;
    }
    return Result::Busy;
}

void PathLock::Release() noexcept {
    if (descriptor_ < 0) return;
    unlink(path_.c_str());
    close(std::exchange(descriptor_, -1));
}

}  // namespace platform
