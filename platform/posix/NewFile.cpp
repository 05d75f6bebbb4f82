#include "platform/NewFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <utility>

#include "platform/posix/KeepErrno.h"

namespace platform {
namespace {

// A file system that cannot make files without a name refuses each try the same way, so that the
// first refusal ends the tries.
std::atomic<bool> unnamedFiles = true;

// Closes on leaving, and keeps errno.
class Descriptor {
public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    ~Descriptor() {
        const posix::KeepErrno keep;
        if (descriptor_ >= 0) close(descriptor_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

private:
    const int descriptor_;
};

}  // namespace

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
    for (;;) {
        hidden_ = HiddenName(name_);
        if (handle_.CreateIn(folder_->descriptor_, hidden_.c_str())) {
            // Another run may have found the file before it was locked, and removed it.
            if (handle_.LockChanges(0) && folder_->KindOf(hidden_) == EntryKind::File) {
                // What replaces a private file is private before it has any content.
                (void)handle_.TakePermissionsIn(folder_->descriptor_, name_.c_str());
                return true;
            }
            handle_.Close();
        } else if (errno != EEXIST) {
            break;
        }
    }
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
        const posix::KeepErrno keep;
        unlinkat(folder, name_.c_str(), 0);
        return false;
    }
    if (errno != EEXIST || !replace) return false;
    // What replaces a private file is private before it has a name. A file whose permissions cannot
    // be set still replaces the other: its content matters more.
    (void)handle_.TakePermissionsIn(folder, name_.c_str());
    // No call replaces a name by a file that has none.
    return GetHiddenName() && MoveHidden(true);
}

bool NewFile::GetHiddenName() {
    // Says to other runs that a process holds the file.
    (void)handle_.LockChanges(0);
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
    constexpr unsigned kNoReplace = 1;  // RENAME_NOREPLACE of <linux/fs.h>
    // Closing reports what could not be written. The lock lasts until the file has its name.
    const Descriptor lock(dup(handle_.descriptor_));
    if (!handle_.Close()) {
        const posix::KeepErrno keep;
        GiveUp();
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
