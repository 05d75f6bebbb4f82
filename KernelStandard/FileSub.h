// The abstract backend of the virtual file system.
//
// A backend serves the names below one mounted root: a directory (FileSubPath) or an archive
// (FileSubArchive). The substitution list shares its backends with the files and searches that are
// open through them. It calls them under its lock, except where a comment says otherwise. Names are
// relative to the root and have no leading separator.
//
// Operations report failure by their result; only the base's CloseFile throws. An operation that a
// backend does not override fails, except MakeDirectory, which succeeds and does nothing.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "kernel/InternedString.h"
#include "kernel/PathBuffer.h"
#include "platform/Files.h"

namespace Vorn {

class OpenFile;
class FileSub;

using FileSubs = std::vector<std::shared_ptr<FileSub>>;

// How the File object wants a file opened. New files may be read and written.
struct OpenFlags {
    platform::Access access = platform::Access::Read;
    platform::Creation creation = platform::Creation::OpenExisting;

    // Returns whether opening itself may create a file or empty one.
    [[nodiscard]] bool Creates() const { return creation != platform::Creation::OpenExisting; }
    // Returns whether the file may change, by opening it or later.
    [[nodiscard]] bool Modifies() const { return Creates() || access != platform::Access::Read; }
};

// The kinds that IsKind is asked about.
inline constexpr int kKindArchive = 0;
inline constexpr int kKindDirectory = 1;

class FileSub : public std::enable_shared_from_this<FileSub> {
public:
    FileSub() = default;
    FileSub(const FileSub&) = delete;
    FileSub& operator=(const FileSub&) = delete;

    // The virtual operations, in slot order, which is fixed.
    virtual ~FileSub() = default;
    // Called when any substitution is being closed.
    virtual void OnSubstClosed(const InternedString& /*name*/) {}
    // Returns whether the backend refuses changes. The list skips read-only backends in OpenWrite,
    // Delete, Rename and MakeDirectory, so they need not check it; OpenRead and SetReadOnly are
    // called on read-only backends too.
    [[nodiscard]] virtual bool IsReadOnly() const { return true; }
    // Returns whether the storage exists and can be read.
    [[nodiscard]] virtual bool IsAvailable() const { return false; }
    // Returns the archive format version, on which the length of a stream's header depends.
    [[nodiscard]] virtual std::uint32_t GetStorageKind() const { return 0; }
    // Returns whether the backend is of that kind (kKindArchive, kKindDirectory).
    [[nodiscard]] virtual bool IsKind(int /*kind*/) const { return false; }
    // Open `name` into `file` (see OpenFile.h). False if it cannot be opened.
    [[nodiscard]] virtual bool OpenWrite(OpenFile& file, const char* name, OpenFlags flags);
    [[nodiscard]] virtual bool OpenRead(OpenFile& file, const char* name, OpenFlags flags);
    // Closes a file that this backend opened. True if everything written is safely in place. The
    // base throws FileEx, because a backend that opens files must also close them.
    virtual bool CloseFile(OpenFile& file);
    // Returns whether `name` exists. `substName` holds the substitution's name; a backend may
    // change it.
    [[nodiscard]] virtual bool Exists(InternedString& substName, const char* name);
    // Sets `outPath` to the name's path within the backend and returns whether it exists.
    [[nodiscard]] virtual bool Locate(PathSpan outPath, const char* name);
    // Returns whether the file existed and was deleted.
    [[nodiscard]] virtual bool Delete(const char* /*name*/) { return false; }
    [[nodiscard]] virtual bool Rename(const char* oldName, const char* newName);
    // Creates the directory and its missing parents.
    [[nodiscard]] virtual bool MakeDirectory(const char* /*name*/) { return true; }
    // Replaces `name` by its real file-system path. False if it does not exist or has none.
    [[nodiscard]] virtual bool GetRealPath(PathSpan /*name*/) { return false; }
    // Sets `writeTime` to the modification time, in seconds since 1970-01-01 UTC. False if there
    // is no such file.
    [[nodiscard]] virtual bool Stat(std::uint32_t& writeTime, const char* name);
    // Sets or clears a file's read-only attribute.
    virtual void SetReadOnly(const char* /*name*/, bool /*readOnly*/) {}
    // Appends this backend if it can be searched.
    virtual void CollectInto(FileSubs& /*list*/) {}
    // Enter and leave the backend's own lock, which a file holds around each read of a descriptor
    // that it shares.
    virtual void Lock() {}
    virtual void Unlock() {}
    // Returns whether `text` equals the mounted path byte for byte.
    [[nodiscard]] virtual bool IsRoot(const char* /*text*/) const { return false; }
    // Called when the mount is closed: completes what was written. Files that are open may still
    // be read and closed.
    virtual void EndMount() {}
    // Appends the backends whose BeginChanges must be called before Delete of `name`.
    virtual void CollectToDelete(const char* /*name*/, FileSubs& /*list*/) {}
    // Waits until no other process changes the storage, then blocks the changes of others. False
    // if the wait takes too long. Called without the list's lock, since it may take half a minute.
    [[nodiscard]] virtual bool BeginChanges() { return true; }

    // Returns the number of files that are open through this backend.
    [[nodiscard]] int OpenCount() const { return openCount_.load(); }
    void CountOpened() { ++openCount_; }
    void CountClosed() { --openCount_; }

private:
    std::atomic<int> openCount_{0};
};

}  // namespace Vorn
