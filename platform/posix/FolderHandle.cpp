#include "platform/FolderHandle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <utility>

namespace platform {
namespace {

constexpr mode_t kFileMode = 0666;
constexpr mode_t kFolderMode = 0777;
constexpr mode_t kPermissions = 0777;

// File systems that cannot make files without a name answer every try alike; one is enough.
std::atomic<bool> g_namelessFiles = true;

std::string HiddenName(const std::string& name) {
    static std::atomic<unsigned> counter = 0;
    // A name may be as long as the system allows; the hidden one must not be longer.
    constexpr std::size_t kMostOfName = 200;
    return "." + name.substr(0, kMostOfName) + ".va-" + std::to_string(getpid()) + "-" +
           std::to_string(counter++);
}

}  // namespace

FolderHandle::FolderHandle(FolderHandle&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)) {}

FolderHandle& FolderHandle::operator=(FolderHandle&& other) noexcept {
    if (this != &other) {
        Close();
        descriptor_ = std::exchange(other.descriptor_, -1);
    }
    return *this;
}

FolderHandle::~FolderHandle() { Close(); }

void FolderHandle::Close() noexcept {
    if (descriptor_ >= 0) close(descriptor_);
    descriptor_ = -1;
}

bool FolderHandle::Open(const char* path) {
    Close();
    descriptor_ = open(*path == '\0' ? "." : path, O_PATH | O_DIRECTORY | O_CLOEXEC);
    return descriptor_ >= 0;
}

bool FolderHandle::OpenIn(const FolderHandle& parent, const std::string& name, bool make) {
    constexpr int kFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    int descriptor = openat(parent.descriptor_, name.c_str(), kFlags);
    if (descriptor < 0 && errno == ENOENT && make) {
        // Another thread or process may be quicker to make it.
        if (mkdirat(parent.descriptor_, name.c_str(), kFolderMode) != 0 && errno != EEXIST) {
            return false;
        }
        descriptor = openat(parent.descriptor_, name.c_str(), kFlags);
    }
    if (descriptor < 0) return false;
    Close();
    descriptor_ = descriptor;
    return true;
}

EntryKind FolderHandle::KindOf(const std::string& name) const {
    struct stat status {};
    if (fstatat(descriptor_, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return EntryKind::None;
    }
    if (S_ISREG(status.st_mode)) return EntryKind::File;
    if (S_ISDIR(status.st_mode)) return EntryKind::Directory;
    return S_ISLNK(status.st_mode) ? EntryKind::Link : EntryKind::Other;
}

NewFile::~NewFile() { GiveUp(); }

bool NewFile::Begin(const FolderHandle& folder, const std::string& name) {
    GiveUp();
    folder_ = &folder;
    name_ = name;
    if (g_namelessFiles.load(std::memory_order_relaxed)) {
        descriptor_ = openat(folder.descriptor_, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, kFileMode);
        if (descriptor_ >= 0) return true;
        if (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL) return false;
        g_namelessFiles.store(false, std::memory_order_relaxed);
    }
    do {
        hidden_ = HiddenName(name);
        descriptor_ = openat(folder.descriptor_, hidden_.c_str(),
                             O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, kFileMode);
    } while (descriptor_ < 0 && errno == EEXIST);
    if (descriptor_ < 0) hidden_.clear();
    return descriptor_ >= 0;
}

bool NewFile::Write(std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor_, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

bool NewFile::GetHiddenName() {
    if (!hidden_.empty()) return true;
    char self[32];
    std::snprintf(self, sizeof self, "/proc/self/fd/%d", descriptor_);
    std::string hidden;
    do {
        hidden = HiddenName(name_);
        if (linkat(AT_FDCWD, self, folder_->descriptor_, hidden.c_str(), AT_SYMLINK_FOLLOW) == 0) {
            hidden_ = hidden;
            return true;
        }
    } while (errno == EEXIST);
    return false;
}

bool NewFile::Publish(bool replace) {
    const int folder = folder_->descriptor_;
    if (hidden_.empty()) {
        char self[32];
        std::snprintf(self, sizeof self, "/proc/self/fd/%d", descriptor_);
        if (linkat(AT_FDCWD, self, folder, name_.c_str(), AT_SYMLINK_FOLLOW) == 0) {
            close(std::exchange(descriptor_, -1));
            return true;
        }
        if (errno != EEXIST || !replace) return false;
        if (!GetHiddenName()) return false;
    }
    struct stat status {};
    const bool exists = fstatat(folder, name_.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    if (exists && !S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode)) {
        errno = EEXIST;
        return false;
    }
    if (exists && S_ISREG(status.st_mode) &&
        fchmod(descriptor_, status.st_mode & kPermissions) != 0) {
        return false;
    }
    constexpr unsigned kNoReplace = 1;  // RENAME_NOREPLACE of <linux/fs.h>
    if (renameat2(folder, hidden_.c_str(), folder, name_.c_str(), replace ? 0 : kNoReplace) != 0) {
        return false;
    }
    hidden_.clear();
    close(std::exchange(descriptor_, -1));
    return true;
}

void NewFile::GiveUp() {
    if (descriptor_ >= 0) close(std::exchange(descriptor_, -1));
    if (!hidden_.empty()) unlinkat(folder_->descriptor_, hidden_.c_str(), 0);
    hidden_.clear();
}

}  // namespace platform
