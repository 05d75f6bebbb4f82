#include "platform/Directories.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <vector>

#include "platform/posix/KeepErrno.h"
#include "platform/posix/PathLookup.h"
#include "platform/posix/Stamp.h"

namespace platform {
namespace {

using posix::FindExistingPath;
using posix::ToSystemPath;

constexpr mode_t kAnyWritePermission = S_IWUSR | S_IWGRP | S_IWOTH;

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};
using DirectoryStream = std::unique_ptr<DIR, CloseDirectory>;

struct FreeText {
    void operator()(char* text) const { std::free(text); }
};

FileStatus ToFileStatus(const struct stat& status) {
    const bool directory = S_ISDIR(status.st_mode);
    FileStatus result;
    result.size = directory ? 0 : static_cast<std::uint64_t>(status.st_size);
    result.creationTime = status.st_ctim.tv_sec;
    result.accessTime = status.st_atim.tv_sec;
    result.writeTime = status.st_mtim.tv_sec;
    unsigned attributes = 0;
    attributes |= directory ? kAttributeDirectory : 0;
    attributes |= (status.st_mode & kAnyWritePermission) == 0 ? kAttributeReadOnly : 0;
    result.attributes = static_cast<std::uint16_t>(attributes);
    result.stamp = posix::StampOf(status);
    return result;
}

// Returns the names of all entries in byte order; nullopt if the directory cannot be read.
std::optional<std::vector<std::string>> SortedNames(DIR* directory) {
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* entry = readdir(directory)) {
        names.emplace_back(entry->d_name);
    }
    if (errno != 0) {
        return std::nullopt;
    }
    std::sort(names.begin(), names.end());
    return names;
}

// Fails with ENOENT if the entry was removed after its name was read.
bool ReadEntry(int directory, const std::string& name, DirectoryEntry& entry) {
    struct stat status {};
    if (fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return false;
    }
    entry.name = name;
    entry.isLink = S_ISLNK(status.st_mode);
    struct stat target {};
    const bool followed = entry.isLink && fstatat(directory, name.c_str(), &target, 0) == 0;
    entry.isRegular = S_ISREG(followed ? target.st_mode : status.st_mode);
    entry.status = ToFileStatus(followed ? target : status);
    return true;
}

bool RemoveEntry(int folder, const char* name);

// Takes ownership of `directory`.
bool RemoveEntries(int directory) {
    const DirectoryStream stream(fdopendir(directory));
    if (!stream) {
        close(directory);
        return false;
    }
    const auto names = SortedNames(stream.get());
    return names && std::ranges::all_of(*names, [&](const std::string& name) {
               return name == "." || name == ".." || RemoveEntry(dirfd(stream.get()), name.c_str());
           });
}

bool RemoveEntry(int folder, const char* name) {
    constexpr int kOnlyDirectory = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    const int directory = openat(folder, name, kOnlyDirectory);
    if (directory >= 0) {
        return RemoveEntries(directory) && unlinkat(folder, name, AT_REMOVEDIR) == 0;
    }
    // A link or a file; or a directory that may not be opened, which can be removed only if empty.
    const int flags = errno == ENOTDIR || errno == ELOOP ? 0 : AT_REMOVEDIR;
    return unlinkat(folder, name, flags) == 0;
}

// For file systems without RENAME_NOREPLACE: creating a hard link never replaces either.
bool RenameByLink(const std::string& from, const std::string& to) {
    struct stat status {};
    if (lstat(from.c_str(), &status) != 0) {
        return false;
    }
    if (!S_ISDIR(status.st_mode) && link(from.c_str(), to.c_str()) == 0) {
        return unlink(from.c_str()) == 0;
    }
    // Without a hard link (a directory, or a file system that has none) another process can still
    // create `to` between this check and the rename.
    if (lstat(to.c_str(), &status) == 0) {
        errno = EEXIST;
        return false;
    }
    return rename(from.c_str(), to.c_str()) == 0;
}

}  // namespace

bool Exists(const char* path) {
    FileStatus status;
    return GetStatus(path, status);
}

bool GetStatus(const char* path, FileStatus& status) {
    struct stat found {};
    if (stat(FindExistingPath(path).c_str(), &found) != 0) {
        return false;
    }
    status = ToFileStatus(found);
    return true;
}

EntryKind GetEntryKind(const char* path) {
    struct stat found {};
    if (lstat(ToSystemPath(path).c_str(), &found) != 0) {
        return EntryKind::None;
    }
    switch (found.st_mode & S_IFMT) {
        case S_IFREG:
            return EntryKind::File;
        case S_IFDIR:
            return EntryKind::Directory;
        case S_IFLNK:
            return EntryKind::Link;
        default:
            return EntryKind::Other;
    }
}

bool GetIdentity(const char* path, FileIdentity& identity) {
    struct stat found {};
    if (stat(FindExistingPath(path).c_str(), &found) != 0) {
        return false;
    }
    identity = {.device = found.st_dev, .number = found.st_ino};
    return true;
}

bool IsSameFile(const char* a, const char* b) {
    FileIdentity first;
    FileIdentity second;
    return GetIdentity(a, first) && GetIdentity(b, second) && first == second;
}

std::string RealPath(const char* path) {
    const std::unique_ptr<char, FreeText> real(realpath(ToSystemPath(path).c_str(), nullptr));
    return real ? real.get() : "";
}

bool RemoveFile(const char* path) {
    const std::string name = ToSystemPath(path);
    struct stat status {};
    if (lstat(name.c_str(), &status) != 0) {
        return false;
    }
    // The system asks for write permission on the directory only; callers expect read-only files to
    // be kept.
    if ((status.st_mode & kAnyWritePermission) == 0) {
        errno = EACCES;
        return false;
    }
    return unlink(name.c_str()) == 0;
}

bool RenameOver(const char* from, const char* to) {
    const std::string oldName = ToSystemPath(from);
    const std::string newName = ToSystemPath(to);
    struct stat status {};
    if (lstat(newName.c_str(), &status) == 0 && (status.st_mode & kAnyWritePermission) == 0) {
        errno = EACCES;
        return false;
    }
    return rename(oldName.c_str(), newName.c_str()) == 0;
}

bool Rename(const char* from, const char* to) {
    const std::string oldName = ToSystemPath(from);
    const std::string newName = ToSystemPath(to);
    if (renameat2(AT_FDCWD, oldName.c_str(), AT_FDCWD, newName.c_str(), RENAME_NOREPLACE) == 0) {
        return true;
    }
    return (errno == EINVAL || errno == ENOSYS) && RenameByLink(oldName, newName);
}

bool MakeDirectory(const char* path) {
    constexpr mode_t kMode = 0777;
    return mkdir(ToSystemPath(path).c_str(), kMode) == 0;
}

bool RemoveEmptyDirectory(const char* path) { return rmdir(ToSystemPath(path).c_str()) == 0; }

std::string MakePrivateDirectory(const std::string& prefix) {
    std::string path = ToSystemPath(prefix.c_str()) + "XXXXXX";
    return mkdtemp(path.data()) ? path : "";
}

bool CommitDirectory(const char* path) {
    const int descriptor = open(FindExistingPath(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    // File systems that cannot flush a directory say so with these two.
    const bool committed = fsync(descriptor) == 0 || errno == EINVAL || errno == ENOTSUP;
    close(descriptor);
    return committed;
}

bool MakeDirectories(const char* path) {
    const std::string whole = ToSystemPath(path);
    for (std::size_t end = 0; end < whole.size();) {
        end = std::min(whole.find('/', whole.find_first_not_of('/', end)), whole.size());
        const std::string level = whole.substr(0, end);
        if (MakeDirectory(level.c_str())) {
            continue;
        }
        const posix::KeepErrno keep;
        FileStatus status;
        if (!GetStatus(level.c_str(), status) || !status.IsDirectory()) {
            return false;
        }
    }
    return true;
}

bool RemoveTree(const char* path) {
    std::string name = ToSystemPath(path);
    // The system follows a link that is followed by a separator.
    while (name.size() > 1 && name.back() == '/') {
        name.pop_back();
    }
    struct stat status {};
    // A link to a directory counts as a tree here; RemoveEntry then removes the link only.
    const bool isTree = stat(name.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    return isTree && RemoveEntry(AT_FDCWD, name.c_str());
}

bool SetReadOnly(const char* path, bool readOnly) {
    constexpr mode_t kAllModeBits = 07777;
    const std::string name = FindExistingPath(path);
    struct stat status {};
    if (stat(name.c_str(), &status) != 0) {
        return false;
    }
    const mode_t mode = status.st_mode & kAllModeBits;
    return chmod(name.c_str(), readOnly ? mode & ~kAnyWritePermission : mode | S_IWUSR) == 0;
}

bool SetHidden(const char* path, bool /*hidden*/) { return Exists(path); }

bool ListDirectory(const char* path, const std::function<bool(const DirectoryEntry&)>& visit) {
    const DirectoryStream directory(opendir(FindExistingPath(path).c_str()));
    if (!directory) {
        return false;
    }
    const auto names = SortedNames(directory.get());
    if (!names) {
        return false;
    }
    for (const std::string& name : *names) {
        DirectoryEntry entry;
        if (ReadEntry(dirfd(directory.get()), name, entry)) {
            if (!visit(entry)) {
                break;
            }
        } else if (errno != ENOENT) {
            return false;
        }
    }
    return true;
}

std::string CurrentDirectory() {
    const std::unique_ptr<char, FreeText> path(getcwd(nullptr, 0));
    // For a directory outside this process's root the system puts "(unreachable)" in front.
    return path && *path == '/' ? path.get() : "";
}

bool ChangeDirectory(const char* path) { return chdir(FindExistingPath(path).c_str()) == 0; }

std::string TemporaryDirectory() {
    const char* configured = std::getenv("TMPDIR");
    std::string path = configured && *configured != '\0' ? configured : "/tmp";
    if (path.back() != '/') {
        path += '/';
    }
    return path;
}

}  // namespace platform
