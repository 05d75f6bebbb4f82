#include "platform/FolderHandle.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "platform/posix/PathLookup.h"
#include "platform/posix/ShareLocks.h"
#include "platform/shared/HiddenName.h"

namespace platform {
namespace {

constexpr mode_t kFolderMode = 0777;

// Closes the stream of a folder's entries.
struct StreamCloser {
    void operator()(DIR* stream) const { closedir(stream); }
};

}  // namespace

void FolderHandle::Close() noexcept {
    if (descriptor_ >= 0) close(descriptor_);
    descriptor_ = -1;
}

bool FolderHandle::Open(const char* path) {
    Close();
    const std::string name = *path == '\0' ? "." : posix::ToSystemPath(path);
    descriptor_ = open(name.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    return descriptor_ >= 0;
}

bool FolderHandle::OpenNearest(FilePlace& place) {
    while (!Open(place.folder.c_str())) {
        if (errno != ENOENT) return false;
        while (place.folder.ends_with('/') || place.folder.ends_with('\\')) {
            place.folder.pop_back();
        }
        place = PlaceOf(place.folder);
    }
    return true;
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

bool FolderHandle::CanTake(const std::string& name) const {
    struct stat status {};
    if (fstatat(descriptor_, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 && errno != ENOENT) {
        return false;
    }
    // A file without a name meets every refusal that one with a name meets.
    const int probe = openat(descriptor_, ".", O_TMPFILE | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (probe >= 0) {
        close(probe);
        return true;
    }
    if (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL) return false;
    return faccessat(descriptor_, ".", W_OK | X_OK, AT_EACCESS) == 0;
}

std::vector<std::string> FolderHandle::RemoveAbandoned(
    const std::function<bool(std::string_view stem)>& wanted) const {
    std::vector<std::string> removed;
    const int descriptor = openat(descriptor_, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return removed;
    const std::unique_ptr<DIR, StreamCloser> stream(fdopendir(descriptor));
    if (!stream) {
        close(descriptor);
        return removed;
    }
    while (const dirent* const entry = readdir(stream.get())) {
        const std::string_view name = entry->d_name;
        const std::string_view stem = shared::StemOfHidden(name);
        if (stem.empty() || !wanted(stem) || KindOf(entry->d_name) != EntryKind::File) continue;
        const int file = openat(descriptor_, entry->d_name, O_RDWR | O_NOFOLLOW | O_CLOEXEC);
        if (file < 0) continue;
        if (posix::TakeChangeLock(file) && unlinkat(descriptor_, entry->d_name, 0) == 0) {
            removed.emplace_back(name);
        }
        close(file);
    }
    return removed;
}

}  // namespace platform
