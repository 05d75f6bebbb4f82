#include "platform/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <limits>
#include <string>
#include <thread>
#include <utility>

#include "platform/posix/KeepErrno.h"
#include "platform/posix/PathLookup.h"
#include "platform/posix/ShareLocks.h"
#include "platform/posix/Stamp.h"

namespace platform {
namespace {

constexpr int kNoDescriptor = -1;
constexpr mode_t kFileMode = 0666;  // less what the process's mask takes away
constexpr std::uint64_t kLargestOffset = std::numeric_limits<off_t>::max();

int CreationFlags(Creation creation) {
    switch (creation) {
        case Creation::OpenExisting:
            return 0;
        case Creation::CreateOrTruncate:
        case Creation::OpenOrCreate:
            return O_CREAT;
        case Creation::CreateNew:
            return O_CREAT | O_EXCL;
    }
    return 0;
}

// Share locks need a readable descriptor, so Access::Write opens for both. Without O_NONBLOCK
// opening a pipe would block until its other end is opened.
int OpenDescriptor(const std::string& path, Access access, Creation creation) {
    const int flags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY | CreationFlags(creation) |
                      (access == Access::Read ? O_RDONLY : O_RDWR);
    int descriptor = kNoDescriptor;
    do {
        descriptor = open(path.c_str(), flags, kFileMode);
    } while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

// Tries the exact name first: the search in any letter case reads whole directories.
int OpenNamed(const char* path, Access access, Creation creation) {
    if (creation == Creation::OpenOrCreate) {
        return OpenDescriptor(posix::FindExistingPath(path), access, creation);
    }
    const int descriptor = OpenDescriptor(posix::ToSystemPath(path), access, creation);
    const bool missing = descriptor < 0 && (errno == ENOENT || errno == ENOTDIR);
    if (!missing || creation != Creation::OpenExisting) {
        return descriptor;
    }
    return OpenDescriptor(posix::FindExistingPath(path), access, creation);
}

// Exceeding the process's file size limit must fail the write, not end the process.
void IgnoreFileSizeSignal() {
    static const bool done = [] {
        struct sigaction action {};
        if (sigaction(SIGXFSZ, nullptr, &action) == 0 && action.sa_handler == SIG_DFL) {
            action.sa_handler = SIG_IGN;
            sigaction(SIGXFSZ, &action, nullptr);
        }
        return true;
    }();
    (void)done;
}

bool Refuse(int error) {
    errno = error;
    return false;
}

// Truncates only non-empty files: some file systems flush a truncated file on close, which costs
// more than the rest of the open.
bool Empty(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 &&
           (status.st_size == 0 || ftruncate(descriptor, 0) == 0);
}

// Checks an opened file and prepares it for use. Truncates last, when nothing can refuse any more.
bool Admit(int descriptor, Access access, Creation creation, Share share) {
    constexpr mode_t kAnyWritePermission = S_IWUSR | S_IWGRP | S_IWOTH;
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        return false;
    }
    const bool regular = S_ISREG(status.st_mode);
    if (!regular && !S_ISCHR(status.st_mode)) {
        return Refuse(S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
    }
    if (!regular) {
        // O_NONBLOCK was for opening only; reads must wait for data.
        return fcntl(descriptor, F_SETFL, 0) == 0;
    }
    if (access != Access::Read && creation != Creation::CreateNew &&
        (status.st_mode & kAnyWritePermission) == 0) {
        return Refuse(EACCES);
    }
    return posix::PlaceShareLocks(descriptor, access, share) &&
           (creation != Creation::CreateOrTruncate || Empty(descriptor));
}

// Calls `readSome` with the unfilled rest and the bytes read so far, until `into` is full or the
// file ends. An error after some bytes is dropped: the next read reports it again.
template <typename ReadSome>
std::int64_t ReadWhole(std::span<std::byte> into, const ReadSome& readSome) {
    std::size_t done = 0;
    while (done < into.size()) {
        const ssize_t got = readSome(into.subspan(done), done);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return got < 0 && done == 0 ? -1 : static_cast<std::int64_t>(done);
        }
        done += static_cast<std::size_t>(got);
    }
    return static_cast<std::int64_t>(done);
}

}  // namespace

bool FileHandle::Open(const char* path, Access access, Creation creation, Share share) {
    if (IsOpen()) {
        return Refuse(EINVAL);
    }
    FileHandle opened;
    opened.descriptor_ = OpenNamed(path, access, creation);
    if (!opened.IsOpen()) {
        return false;
    }
    if (!Admit(opened.descriptor_, access, creation, share)) {
        const posix::KeepErrno keep;
        opened.Close();
        return false;
    }
    if (access != Access::Read) {
        IgnoreFileSizeSignal();
    }
    *this = std::move(opened);
    return true;
}

bool FileHandle::OpenTemporary(const char* path) {
    if (IsOpen()) {
        return Refuse(EINVAL);
    }
    const std::string name = posix::ToSystemPath(path);
    const std::size_t separator = name.rfind('/');
    const std::string folder = separator == std::string::npos ? "." : name.substr(0, separator + 1);
    constexpr mode_t kMode = 0600;
    // Some file systems cannot make unnamed files; there a name exists until the unlink.
    descriptor_ = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, kMode);
    if (!IsOpen()) {
        descriptor_ = open(name.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, kMode);
        if (IsOpen() && unlink(name.c_str()) != 0) {
            const posix::KeepErrno keep;
            Close();
        }
    }
    if (IsOpen()) {
        IgnoreFileSizeSignal();
    }
    return IsOpen();
}

bool FileHandle::OpenUnnamed(const char* folder) {
    return OpenUnnamedIn(AT_FDCWD, posix::ToSystemPath(folder).c_str());
}

bool FileHandle::GiveName(const char* path) const {
    return GiveNameIn(AT_FDCWD, posix::ToSystemPath(path).c_str());
}

bool FileHandle::OpenUnnamedIn(int folder, const char* path) {
    // GiveNameIn may have to find the file there.
    static const bool canGiveNames = access("/proc/self/fd", X_OK) == 0;
    if (IsOpen() || !canGiveNames) {
        return Refuse(IsOpen() ? EINVAL : EOPNOTSUPP);
    }
    descriptor_ = openat(folder, path, O_TMPFILE | O_RDWR | O_CLOEXEC, kFileMode);
    if (IsOpen()) {
        IgnoreFileSizeSignal();
    }
    return IsOpen();
}

bool FileHandle::GiveNameIn(int folder, const char* path) const {
    // Linking the descriptor itself takes a sixth less time than linking through /proc, but needs a
    // capability or a recent system. A process that may not do it is refused every time.
    static std::atomic<bool> linksDescriptors = true;
    const bool tryDescriptor = linksDescriptors.load(std::memory_order_relaxed);
    if (tryDescriptor) {
        if (linkat(descriptor_, "", folder, path, AT_EMPTY_PATH) == 0) {
            return true;
        }
        if (errno == EEXIST) {
            return false;
        }
    }
    char link[sizeof "/proc/self/fd/" + std::numeric_limits<int>::digits10 + 2];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor_);
    if (linkat(AT_FDCWD, link, folder, path, AT_SYMLINK_FOLLOW) != 0) {
        return false;
    }
    if (tryDescriptor) {
        linksDescriptors.store(false, std::memory_order_relaxed);
    }
    return true;
}

bool FileHandle::CreateIn(int folder, const char* path) {
    if (IsOpen()) {
        return Refuse(EINVAL);
    }
    descriptor_ = openat(folder, path, O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, kFileMode);
    if (IsOpen()) {
        IgnoreFileSizeSignal();
    }
    return IsOpen();
}

bool FileHandle::TakePermissions(const char* path) const {
    return TakePermissionsIn(AT_FDCWD, posix::ToSystemPath(path).c_str());
}

bool FileHandle::TakePermissionsIn(int folder, const char* path) const {
    // Without set-user-ID and set-group-ID: the new file may have another owner.
    constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;
    struct stat status {};
    if (fstatat(folder, path, &status, AT_SYMLINK_NOFOLLOW) != 0) return errno == ENOENT;
    return !S_ISREG(status.st_mode) || fchmod(descriptor_, status.st_mode & kPermissions) == 0;
}

bool FileHandle::Close() noexcept {
    // An interrupted close has released the descriptor as well; closing again could hit another
    // file.
    const int descriptor = std::exchange(descriptor_, kNoDescriptor);
    return descriptor < 0 || close(descriptor) == 0 || errno == EINTR;
}

std::int64_t FileHandle::Read(std::span<std::byte> into) {
    return ReadWhole(into, [this](std::span<std::byte> rest, std::size_t) {
        return read(descriptor_, rest.data(), rest.size());
    });
}

std::int64_t FileHandle::ReadAt(std::uint64_t offset, std::span<std::byte> into) const {
    if (offset > kLargestOffset || into.size() > kLargestOffset - offset) {
        errno = EINVAL;
        return -1;
    }
    return ReadWhole(into, [this, offset](std::span<std::byte> rest, std::size_t done) {
        return pread(descriptor_, rest.data(), rest.size(), static_cast<off_t>(offset + done));
    });
}

std::size_t FileHandle::Write(std::span<const std::byte> from) {
    std::size_t done = 0;
    while (done < from.size()) {
        const ssize_t put = write(descriptor_, from.data() + done, from.size() - done);
        if (put < 0 && errno == EINTR) {
            continue;
        }
        if (put <= 0) {
            break;
        }
        done += static_cast<std::size_t>(put);
    }
    return done;
}

std::size_t FileHandle::WriteAt(std::uint64_t offset, std::span<const std::byte> from) {
    if (offset > kLargestOffset || from.size() > kLargestOffset - offset) {
        errno = EFBIG;
        return 0;
    }
    std::size_t done = 0;
    while (done < from.size()) {
        const ssize_t put = pwrite(descriptor_, from.data() + done, from.size() - done,
                                   static_cast<off_t>(offset + done));
        if (put < 0 && errno == EINTR) {
            continue;
        }
        if (put <= 0) {
            break;
        }
        done += static_cast<std::size_t>(put);
    }
    return done;
}

std::int64_t FileHandle::Seek(std::int64_t offset, SeekOrigin origin) {
    switch (origin) {
        case SeekOrigin::Begin:
            return lseek(descriptor_, offset, SEEK_SET);
        case SeekOrigin::Current:
            return lseek(descriptor_, offset, SEEK_CUR);
        case SeekOrigin::End:
            return lseek(descriptor_, offset, SEEK_END);
    }
    return -1;
}

std::int64_t FileHandle::Tell() const { return lseek(descriptor_, 0, SEEK_CUR); }

bool FileHandle::GetStamp(FileStamp& stamp) const {
    struct stat status {};
    if (fstat(descriptor_, &status) != 0) return false;
    stamp = posix::StampOf(status);
    return true;
}

std::int64_t FileHandle::Length() const {
    struct stat status {};
    return fstat(descriptor_, &status) == 0 ? status.st_size : -1;
}

bool FileHandle::Truncate(std::uint64_t length) {
    if (length > kLargestOffset) {
        return Refuse(EFBIG);
    }
    int result = -1;
    do {
        result = ftruncate(descriptor_, static_cast<off_t>(length));
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

// Polls, because a blocking lock call has no time-out.
bool FileHandle::LockChanges(int milliseconds) const {
    constexpr int kPause = 10;
    for (int waited = 0; !posix::TakeChangeLock(descriptor_); waited += kPause) {
        if (waited >= milliseconds) {
            return Refuse(EBUSY);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(kPause));
    }
    return true;
}

void FileHandle::UnlockChanges() const { posix::DropChangeLock(descriptor_); }

bool FileHandle::OthersChange() const { return posix::OthersHoldChangeLock(descriptor_); }

bool FileHandle::Commit() { return fsync(descriptor_) == 0; }

}  // namespace platform
