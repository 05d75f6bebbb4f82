// Names in the file system: existence, status, removal, renaming, directories and their entries.
//
// Paths follow the rules of Files.h: both separators are accepted everywhere; what is looked up
// (all that is not named next) is found under its exact name, else under one that
// differs only in letter case; what is removed, renamed or created is named exactly as given.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace platform {

// Attribute bits of a directory entry. The system has no hidden, system or archive attribute:
// those bits are never reported.
enum FileAttribute : std::uint16_t {
    kAttributeReadOnly = 0x01,  // no write permission bit is set
    kAttributeDirectory = 0x10,
};

struct FileStatus {
    std::uint64_t size = 0;         // bytes; 0 for a directory
    std::int64_t creationTime = 0;  // seconds since 1970-01-01 UTC; the last status change
    std::int64_t accessTime = 0;    // seconds since 1970-01-01 UTC
    std::int64_t writeTime = 0;     // seconds since 1970-01-01 UTC
    std::uint16_t attributes = 0;   // FileAttribute bits
    [[nodiscard]] bool IsDirectory() const { return (attributes & kAttributeDirectory) != 0; }
};

[[nodiscard]] bool Exists(const char* path);
[[nodiscard]] bool GetStatus(const char* path, FileStatus& status);

// What stands under a name, a link not followed. The name is exact.
enum class EntryKind { None, File, Directory, Link, Other };
[[nodiscard]] EntryKind GetEntryKind(const char* path);

// Which file or directory a path leads to: equal for two paths to one and the same.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t number = 0;
    bool operator==(const FileIdentity&) const = default;
};
[[nodiscard]] bool GetIdentity(const char* path, FileIdentity& identity);

// Whether both paths lead to one and the same file; false when either is missing.
[[nodiscard]] bool IsSameFile(const char* a, const char* b);

// The full path of what the exact name `path` leads to, without links, '/' between components;
// empty when that does not exist.
[[nodiscard]] std::string RealPath(const char* path);

// Removes a file. Refuses a directory, and a file that is read-only (see SetReadOnly).
[[nodiscard]] bool RemoveFile(const char* path);

// Renames without ever replacing: false when `to` exists.
[[nodiscard]] bool Rename(const char* from, const char* to);

// Atomically replaces `to`, which need not exist: observers see the old file or the new one. A link
// is replaced itself, not its target. Refuses to replace a directory or a read-only file.
[[nodiscard]] bool RenameOver(const char* from, const char* to);

[[nodiscard]] bool MakeDirectory(const char* path);  // one level; false when it exists
[[nodiscard]] bool RemoveEmptyDirectory(const char* path);

// Creates a folder that only this user can open, under a name that begins with `prefix` and that
// nothing had. Its path; empty when it cannot be created.
[[nodiscard]] std::string MakePrivateDirectory(const std::string& prefix);

// Forces the names in a folder to the storage device. True where the system cannot do that.
[[nodiscard]] bool CommitDirectory(const char* path);

// Creates every missing level. True when all of them are directories at the end; the empty path has
// no level.
[[nodiscard]] bool MakeDirectories(const char* path);

// Removes a directory and all below it, read-only files included. Links are removed and never
// followed: a link at `path` itself goes and its target stays. It works on open directories, so
// that no name of an entry, and nobody who moves a directory meanwhile, leads it elsewhere. Stops
// at the first failure; true when `path` is gone. One file descriptor for each level.
[[nodiscard]] bool RemoveTree(const char* path);

// Takes away the write permission of every class of user, or gives it back to the owner.
bool SetReadOnly(const char* path, bool readOnly);

// Gives `to` the permissions of the exact name `from`: who may read, write and run it, for every
// class of user. Owners stay as they are.
[[nodiscard]] bool CopyPermissions(const char* from, const char* to);

// Marks a file as hidden, or gives it back its normal attributes. Without such an attribute in
// the system this changes nothing and answers whether the file exists.
bool SetHidden(const char* path, bool hidden);

struct DirectoryEntry {
    std::string name;
    FileStatus status;  // a symbolic link reports what it points at; a broken one itself
    bool isLink = false;
    bool isRegular = false;  // a file with content, no device or pipe; of a link, its target
};

// Calls `visit` for every entry of `path`, "." and ".." included, in byte order of the names,
// until it returns false. False when the directory or the status of an entry cannot be read.
[[nodiscard]] bool ListDirectory(const char* path,
                                 const std::function<bool(const DirectoryEntry&)>& visit);

// The current directory with '/' between components; empty when the system cannot tell.
[[nodiscard]] std::string CurrentDirectory();
[[nodiscard]] bool ChangeDirectory(const char* path);

// The folder for temporary files, ending in a separator.
[[nodiscard]] std::string TemporaryDirectory();

}  // namespace platform
