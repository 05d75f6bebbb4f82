// Names in the file system: existence, status, removal, renaming, directories and their entries.
//
// Paths follow the rules of Files.h: both separators are accepted everywhere. Removing, renaming
// and creating use the name exactly as given. Everything else finds a file under its exact name,
// else under one that differs only in letter case.
//
// Operations that return false have their reason in LastError (Error.h).
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "platform/Files.h"

namespace platform {

// Attribute bits of a directory entry. Hidden, system and archive bits are never reported: not
// every system has them.
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
    FileStamp stamp;
    [[nodiscard]] bool IsDirectory() const { return (attributes & kAttributeDirectory) != 0; }
};

[[nodiscard]] bool Exists(const char* path);
[[nodiscard]] bool GetStatus(const char* path, FileStatus& status);

// Kind of the entry with exactly that name; links are not followed.
enum class EntryKind { None, File, Directory, Link, Other };
[[nodiscard]] EntryKind GetEntryKind(const char* path);

// Identifies a file or directory: equal for two paths that lead to the same one.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t number = 0;
    bool operator==(const FileIdentity&) const = default;
};
[[nodiscard]] bool GetIdentity(const char* path, FileIdentity& identity);

// Returns whether both paths lead to the same file; false if either is missing.
[[nodiscard]] bool IsSameFile(const char* a, const char* b);

// Returns the full path, with links resolved and '/' between components, of what exactly `path`
// leads to; empty if that does not exist.
[[nodiscard]] std::string RealPath(const char* path);

// Removes a file. Refuses a directory or a read-only file (see SetReadOnly).
[[nodiscard]] bool RemoveFile(const char* path);

// Renames, and never replaces: fails if `to` exists.
[[nodiscard]] bool Rename(const char* from, const char* to);

// Atomically replaces `to`, which need not exist: observers see the old file or the new one. A link
// is replaced itself, not its target. Refuses to replace a directory or a read-only file.
[[nodiscard]] bool RenameOver(const char* from, const char* to);

[[nodiscard]] bool MakeDirectory(const char* path);  // one level; fails if it exists
[[nodiscard]] bool RemoveEmptyDirectory(const char* path);

// Creates a directory that only this user can open, under an unused name that begins with `prefix`.
// Returns its path; empty on failure.
[[nodiscard]] std::string MakePrivateDirectory(const std::string& prefix);

// Flushes the names in a directory to the storage device. True on systems that cannot do that.
[[nodiscard]] bool CommitDirectory(const char* path);

// Creates every missing level. True if all levels are directories at the end, as for an empty path.
[[nodiscard]] bool MakeDirectories(const char* path);

// Removes a directory and everything below it, read-only files included. Links are removed, not
// followed; that holds for `path` itself. Works on open directories (one file descriptor a level),
// so moving a directory meanwhile cannot lead it elsewhere. Stops at the first failure.
[[nodiscard]] bool RemoveTree(const char* path);

// Removes write permission for all users, or restores it for the owner.
[[nodiscard]] bool SetReadOnly(const char* path, bool readOnly);

// Marks a file as hidden, or clears the mark. On a system without that attribute changes nothing
// and returns whether the file exists.
[[nodiscard]] bool SetHidden(const char* path, bool hidden);

struct DirectoryEntry {
    std::string name;
    FileStatus status;  // of a link's target; of the link itself if it is broken
    bool isLink = false;
    bool isRegular = false;  // a file with content, no device or pipe; of a link, its target
};

// Calls `visit` for every entry of `path`, "." and ".." included, in byte order of the names, until
// it returns false. Returns false if the directory or the status of an entry cannot be read.
[[nodiscard]] bool ListDirectory(const char* path,
                                 const std::function<bool(const DirectoryEntry&)>& visit);

// Returns the current directory with '/' between components; empty if it is unknown.
[[nodiscard]] std::string CurrentDirectory();
[[nodiscard]] bool ChangeDirectory(const char* path);

// Returns the directory for temporary files, with a separator at the end.
[[nodiscard]] std::string TemporaryDirectory();

}  // namespace platform
