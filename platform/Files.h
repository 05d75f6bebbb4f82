// Open files: descriptors with share modes, and raw input and output on them.
//
// Every path is a NUL-terminated byte string passed to the system byte for byte; both '/' and '\'
// separate its components. A file that is opened as existing is found under its exact name, else
// under a name that differs only in letter case (ANSI rules, see CodePage.h). A file that is
// created gets exactly the name given.
//
// Share modes hold between all openers that come through this layer, in this and in other
// processes. They are advisory: programs that go round the layer do not see them, and a file
// system without lock support grants every share mode.
//
// Only regular files and character devices open; a directory, pipe or socket is refused without
// waiting on it. A file without any write permission bit does not open for writing, whoever asks.
// Descriptors are not inherited by child processes.
//
// Threads: a FileHandle is used by one thread at a time, ReadAt excepted, which changes nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace platform {

enum class Access { Read, Write, ReadWrite };

enum class Creation {
    OpenExisting,
    CreateOrTruncate,  // truncated only after the share modes were found to agree
    OpenOrCreate,
    CreateNew,  // fails when the name exists
};

// What an opener denies to all others while its handle is open.
enum class Share { DenyAll, DenyWrite, DenyNone };

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

    // Opens a new file for reading and writing that ends with the handle, or with the process
    // however that ends. It has no name; where the system cannot do that it has the name `path` at
    // first. It takes room where `path` would.
    [[nodiscard]] bool OpenTemporary(const char* path);

    // Opens a new file without a name, in `folder`, for GiveName. It ends with the handle, or with
    // the process however that ends, unless it got a name. It denies nothing to others. False where
    // the system has no such files.
    [[nodiscard]] bool OpenUnnamed(const char* folder);
    // Gives a file that OpenUnnamed opened a name in that folder. Never replaces: false when the
    // name exists.
    [[nodiscard]] bool GiveName(const char* path) const;

    // True when the system took everything back without an error.
    bool Close() noexcept;

    // Bytes read: less than asked for only at the end of the file; -1 on an error.
    [[nodiscard]] std::int64_t Read(std::span<std::byte> into);
    // Reads at `offset` and leaves the current position alone.
    [[nodiscard]] std::int64_t ReadAt(std::uint64_t offset, std::span<std::byte> into) const;

    // Bytes written: less than given when the system stopped early (a full disk, a size limit).
    [[nodiscard]] std::size_t Write(std::span<const std::byte> from);
    // Writes at `offset` and leaves the current position alone.
    [[nodiscard]] std::size_t WriteAt(std::uint64_t offset, std::span<const std::byte> from);

    // The new position from the start, or -1.
    std::int64_t Seek(std::int64_t offset, SeekOrigin origin);
    [[nodiscard]] std::int64_t Tell() const;

    // Length in bytes, or -1.
    [[nodiscard]] std::int64_t Length() const;

    // Sets the length; bytes after it are gone, bytes before it stay.
    [[nodiscard]] bool Truncate(std::uint64_t length);

    // The file's one change lock, which whoever changes a shared file in several steps holds
    // meanwhile. It is advisory, belongs to this handle, and ends with UnlockChanges, with Close,
    // and with the process. It denies nobody anything else: readers need no lock.
    // Waits for another holder, of this or of another process, for about `milliseconds`; false when
    // it still holds the lock then. True at once when this handle has it already, and on a file
    // system without locks. The handle must be open for writing. May be called while other threads
    // use the handle.
    [[nodiscard]] bool LockChanges(int milliseconds) const;
    void UnlockChanges() const;
    // Whether another handle, of this or of another process, holds the change lock now.
    [[nodiscard]] bool OthersChange() const;

    // Forces what was written to the storage device.
    bool Commit();

private:
    int descriptor_ = -1;
};

}  // namespace platform
