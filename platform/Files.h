// Open files: descriptors with share modes, and raw input and output on them.
//
// Every path is a NUL-terminated byte string passed to the system byte for byte; both '/' and '\'
// separate its components. A file that is opened as existing is found under its exact name, else
// under a name that differs only in letter case (ANSI rules, see CodePage.h). A file that is
// created gets exactly the name given.
//
// Share modes hold between all openers that come through this layer, in this and in other
// processes. They are advisory: programs that bypass the layer do not see them, and a file
// system without lock support grants every share mode.
//
// A failed operation has its reason in LastError (Error.h).
//
// Only regular files and character devices open; a directory, pipe or socket is refused without
// waiting on it. A file without any write permission does not open for writing, not even for root.
// Descriptors are not inherited by child processes.
//
// Threads: a FileHandle is used by one thread at a time, except ReadAt, which changes nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace platform {

enum class Access { Read, Write, ReadWrite };

enum class Creation {
    OpenExisting,
    CreateOrTruncate,  // truncates only if the share modes agree
    OpenOrCreate,
    CreateNew,  // fails when the name exists
};

// What an opener denies to all other openers while its handle is open.
enum class Share {
    DenyAll,
    DenyWrite,
    DenyNone,
    // For a reader that reads the file at once and closes it: fails beside a writer, as DenyWrite
    // does, but denies nothing itself, which costs half.
    CheckOnly,
};

// The state of a file's content: another one after every write, as far as the clock of the file
// system shows.
struct FileStamp {
    std::uint64_t size = 0;    // bytes
    std::int64_t written = 0;  // nanoseconds since 1970-01-01 UTC; the last write
    bool operator==(const FileStamp&) const = default;
};

enum class SeekOrigin { Begin, Current, End };

// Owns one descriptor. Moving leaves the source closed; destroying closes.
class FileHandle {
public:
    FileHandle() noexcept = default;
    FileHandle(FileHandle&& other) noexcept;
    FileHandle& operator=(FileHandle&& other) noexcept;
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    ~FileHandle();

    // Opens `path`; the handle must be closed. On failure it stays closed and LastError has
    // the reason (Exists for CreateNew on an existing name, Busy for a share mode that disagrees).
    [[nodiscard]] bool Open(const char* path, Access access, Creation creation, Share share);

    [[nodiscard]] bool IsOpen() const noexcept { return descriptor_ >= 0; }

    // Opens a new unnamed file for reading and writing on the device of `path`. It vanishes with
    // the handle or the process, however that ends. On systems without unnamed files it has the
    // name `path` for a moment.
    [[nodiscard]] bool OpenTemporary(const char* path);

    // Opens a new file without a name, in `folder`, for GiveName. Unless it gets a name, it
    // vanishes with the handle or the process, however that ends. It denies nothing to others.
    // False if the file system has no such files. NewFile (NewFile.h) does the whole job for a
    // plain file.
    [[nodiscard]] bool OpenUnnamed(const char* folder);
    // Gives a file that OpenUnnamed opened a name in that folder. Never replaces: false if the name
    // exists.
    [[nodiscard]] bool GiveName(const char* path) const;

    // Gives the file the read, write and execute permissions of the file that has the name `path`,
    // which it is to replace: called before it has a name or a content, so that what replaces a
    // private file is private at every moment. True without a change if no file has that name, or a
    // link. The owner does not change.
    [[nodiscard]] bool TakePermissions(const char* path) const;

    // Returns false if the system reports a delayed write error.
    bool Close() noexcept;

    // Returns the bytes read, fewer than asked for only at the end of the file; -1 on an error.
    [[nodiscard]] std::int64_t Read(std::span<std::byte> into);
    // Reads at `offset` without moving the current position.
    [[nodiscard]] std::int64_t ReadAt(std::uint64_t offset, std::span<std::byte> into) const;

    // Returns the bytes written, fewer than given if the system stops early (a full disk, a limit).
    [[nodiscard]] std::size_t Write(std::span<const std::byte> from);
    // Writes at `offset` without moving the current position.
    [[nodiscard]] std::size_t WriteAt(std::uint64_t offset, std::span<const std::byte> from);

    // Returns the new position from the start, or -1.
    [[nodiscard]] std::int64_t Seek(std::int64_t offset, SeekOrigin origin);
    [[nodiscard]] std::int64_t Tell() const;

    // Returns the length in bytes, or -1.
    [[nodiscard]] std::int64_t Length() const;

    [[nodiscard]] bool GetStamp(FileStamp& stamp) const;

    // Sets the length: cuts the file, or extends it with zeros.
    [[nodiscard]] bool Truncate(std::uint64_t length);

    // Takes the file's change lock, to be held while changing a shared file in several steps. It is
    // advisory and excludes only other holders of this lock: readers need none. It belongs to this
    // handle, which must be open for writing, and ends with UnlockChanges, Close or the process.
    // Waits about `milliseconds` for another holder in this or another process; false if that still
    // holds it then. True at once if this handle has it already, and on a file system without
    // locks. May be called while other threads use the handle.
    [[nodiscard]] bool LockChanges(int milliseconds) const;
    void UnlockChanges() const;
    // Returns whether another handle, of this or of another process, holds the change lock now.
    [[nodiscard]] bool OthersChange() const;

    // Flushes everything written to the storage device.
    [[nodiscard]] bool Commit();

private:
    friend class NewFile;

    // The same, and creating a file, by a system path relative to an open folder.
    [[nodiscard]] bool OpenUnnamedIn(int folder, const char* path);
    [[nodiscard]] bool GiveNameIn(int folder, const char* path) const;
    [[nodiscard]] bool CreateIn(int folder, const char* path);
    [[nodiscard]] bool TakePermissionsIn(int folder, const char* path) const;

    int descriptor_ = -1;
};

}  // namespace platform
