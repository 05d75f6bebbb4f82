// The abstract backend of the virtual file system.
//
// A backend serves the names below one mounted root: a directory (FileSubPath) or an archive
// (FileSubArchive). The substitution list shares its backends with the files and searches that are
// open through them, and calls them under its lock; names come relative to the root, without a
// leading separator. A failure is a result and not an exception, except in the base's CloseFile. An
// operation that a backend does not override fails, except MakeDirectory, which succeeds and does
// nothing.
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

    // The opening itself makes a file or empties one.
    [[nodiscard]] bool Creates() const { return creation != platform::Creation::OpenExisting; }
    // The file may change, by the opening or after it.
    [[nodiscard]] bool Modifies() const { return Creates() || access != platform::Access::Read; }
};

// What IsKind asks for.
inline constexpr int kKindArchive = 0;
inline constexpr int kKindDirectory = 1;

class FileSub : public std::enable_shared_from_this<FileSub> {
public:
    FileSub() = default;
    FileSub(const FileSub&) = delete;
    FileSub& operator=(const FileSub&) = delete;

    // The virtual operations, in slot order.
    virtual ~FileSub() = default;
    // A substitution with this name is being closed.
    virtual void OnSubstClosed(const InternedString& /*name*/) {}
    // Asked by the list, which passes read-only backends over when it opens to write, deletes,
    // renames or makes folders; a backend need not check it there. OpenRead and SetReadOnly reach
    // read-only backends too.
    [[nodiscard]] virtual bool IsReadOnly() const { return true; }
    // The storage exists and can be read.
    [[nodiscard]] virtual bool IsAvailable() const { return false; }
    // Archive format version; tells the File object how long a stream header is.
    [[nodiscard]] virtual std::uint32_t GetStorageKind() const { return 0; }
    [[nodiscard]] virtual bool IsKind(int /*kind*/) const { return false; }
    // Open `name` into `file`: see OpenFile.h.
    [[nodiscard]] virtual bool OpenWrite(OpenFile& file, const char* name, OpenFlags flags);
    [[nodiscard]] virtual bool OpenRead(OpenFile& file, const char* name, OpenFlags flags);
    // Ends what this backend opened. True when everything written is safely in place. The base
    // throws FileEx: a backend that opens files closes them.
    virtual bool CloseFile(OpenFile& file);
    // `substName` holds the substitution's name; a backend may change it.
    [[nodiscard]] virtual bool Exists(InternedString& substName, const char* name);
    // Where a name is to be found; whether it exists.
    [[nodiscard]] virtual bool Locate(PathSpan outPath, const char* name);
    [[nodiscard]] virtual bool Delete(const char* /*name*/) { return false; }
    [[nodiscard]] virtual bool Rename(const char* oldName, const char* newName);
    // Missing parents included.
    [[nodiscard]] virtual bool MakeDirectory(const char* /*name*/) { return true; }
    // Replaces `name` by its real file-system path if it exists.
    [[nodiscard]] virtual bool GetRealPath(PathSpan /*name*/) { return false; }
    // Modification time, seconds since 1970-01-01 UTC.
    [[nodiscard]] virtual bool Stat(std::uint32_t& writeTime, const char* name);
    virtual void SetReadOnly(const char* /*name*/, bool /*readOnly*/) {}
    // Appends this backend for a search.
    virtual void CollectInto(FileSubs& /*list*/) {}
    virtual void Lock() {}
    virtual void Unlock() {}
    // Whether `text` equals the mounted path byte for byte.
    [[nodiscard]] virtual bool IsRoot(const char* /*text*/) const { return false; }
    // The mount is over: puts what was written in order. Files that are open may still be read and
    // closed.
    virtual void EndMount() {}
    // Appends the backends whose BeginChanges must come before Delete of `name`.
    virtual void CollectToDelete(const char* /*name*/, FileSubs& /*list*/) {}
    // Waits until no other process changes the storage, and keeps others from it. False if that
    // takes too long. Called without the list's lock, since it may wait for half a minute.
    [[nodiscard]] virtual bool BeginChanges() { return true; }

    // Files open through this backend.
    [[nodiscard]] int OpenCount() const { return openCount_.load(); }
    void CountOpened() { ++openCount_; }
    void CountClosed() { --openCount_; }

private:
    std::atomic<int> openCount_{0};
};

}  // namespace Vorn
