#include "platform/FolderHandle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <utility>

namespace platform {
namespace {

constexpr mode_t kFolderMode = 0777;
constexpr mode_t kPermissions = 0777;

// A file system that cannot make files without a name refuses each try the same way, so that the
// first refusal ends the tries.
std::atomic<bool> unnamedFiles = true;

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
    if (unnamedFiles.load(std::memory_order_relaxed)) {
        if (handle_.OpenUnnamedIn(folder.descriptor_, ".")) return true;
        if (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL) return false;
        unnamedFiles.store(false, std::memory_order_relaxed);
    }
    return CreateHidden();
}

bool NewFile::CreateHidden() {
    do {
        hidden_ = HiddenName(name_);
        if (handle_.CreateIn(folder_->descriptor_, hidden_.c_str())) return true;
    } while (errno == EEXIST);
    hidden_.clear();
    return false;
}

std::size_t NewFile::Write(std::span<const std::byte> bytes) { return handle_.Write(bytes); }

bool NewFile::Publish(bool replace) {
    if (!hidden_.empty()) return MoveHidden(replace);
    const int folder = folder_->descriptor_;
    if (handle_.GiveNameIn(folder, name_.c_str())) {
        // Only a file that is open can be linked, so that closing, which may report what could not
        // be written, comes last here.
        if (handle_.Close()) return true;
        const int error = errno;
        unlinkat(folder, name_.c_str(), 0);
        errno = error;
        return false;
    }
    if (errno != EEXIST || !replace) return false;
    // No call replaces a name by a file that has none.
    return GetHiddenName() && MoveHidden(true);
}

bool NewFile::GetHiddenName() {
    std::string hidden;
    do {
        hidden = HiddenName(name_);
        if (handle_.GiveNameIn(folder_->descriptor_, hidden.c_str())) {
            hidden_ = std::move(hidden);
            return true;
        }
    } while (errno == EEXIST);
    return false;
}

bool NewFile::MoveHidden(bool replace) {
    const int folder = folder_->descriptor_;
    struct stat status {};
    const bool exists = fstatat(folder, name_.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    if (exists && (!replace || (!S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode)))) {
        errno = EEXIST;
        return false;
    }
    // A file whose permissions cannot be set still replaces the other: its content matters more.
    if (exists && S_ISREG(status.st_mode)) {
        (void)fchmodat(folder, hidden_.c_str(), status.st_mode & kPermissions, 0);
    }
    constexpr unsigned kNoReplace = 1;  // RENAME_NOREPLACE of <linux/fs.h>
    if (!handle_.Close()) {
        const int error = errno;
        GiveUp();
        errno = error;
        return false;
    }
    const unsigned flags = replace ? 0 : kNoReplace;
    if (renameat2(folder, hidden_.c_str(), folder, name_.c_str(), flags) != 0) {
        // Where the system cannot refuse to replace, linking does not replace either.
        const bool unknownFlag = !replace && (errno == EINVAL || errno == ENOSYS);
        if (!unknownFlag || linkat(folder, hidden_.c_str(), folder, name_.c_str(), 0) != 0) {
            return false;
        }
        unlinkat(folder, hidden_.c_str(), 0);
    }
    hidden_.clear();
    return true;
}

void NewFile::GiveUp() {
    handle_.Close();
    if (!hidden_.empty()) unlinkat(folder_->descriptor_, hidden_.c_str(), 0);
    hidden_.clear();
}

}  // namespace platform
