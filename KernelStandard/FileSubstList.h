// The list of mounts ("substitutions"): each name has a stack of backends.
//
// A path "name:rest" means the file "rest" in the mount "name". The most recent mount of a name is
// asked first. Each operation looks the name up and asks its backends under one recursive lock, so
// that no other thread closes the mount in between. Lock order: this list, then a backend's own
// lock, never the other way round.
//
// A backend may itself lead to a mount. A backend that is being asked is not asked again from
// within, so that mounts which lead to each other in a circle do not recurse without end.
//
// Closing a name ends its mount at once: no path reaches it, and its archives are completed. Open
// files and searches keep their backend alive and continue to work. A member that is finished after
// that is still added, and completes its archive once more.
//
// The list lives from its first use, at the latest before main, until the process exits. Names that
// are still mounted then are closed, which completes archives that were opened writable.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "KernelStandard/FileSub.h"
#include "kernel/InternedString.h"
#include "kernel/SyncObject.h"

namespace Vorn {

class OpenFile;

// A path split after the name of its mount. Both are null for a path that begins with no name.
struct MountPath {
    InternedString mount;        // need not be mounted
    const char* rest = nullptr;  // after the colon and one separator; part of the path
};

// Splits a path at its first ':'. "C:\x" and "C:/x" are drive paths, which name no mount.
[[nodiscard]] MountPath SplitMountPath(const char* path);

class FileSubstList {
public:
    static FileSubstList& Instance();

    FileSubstList(const FileSubstList&) = delete;
    FileSubstList& operator=(const FileSubstList&) = delete;

    // Mounts `path` under `name`, above the name's other mounts: a directory if `path` ends in a
    // separator, else an archive file, which is created if it is missing and `writable`. Throws
    // FileEx if that fails. A null path closes the name; throws FileEx if it is not mounted.
    void Subst(const InternedString& name, const char* path, bool writable);

    // Closes all mounts of the name. False if it is not mounted.
    bool Close(const InternedString& name);

    // Returns whether the name is mounted; a null or empty name never is.
    [[nodiscard]] bool IsMounted(const InternedString& name);
    // Returns whether a path begins with the name of a mount.
    [[nodiscard]] bool NamesMount(const char* path) {
        return IsMounted(SplitMountPath(path).mount);
    }
    // Returns the most recent mount of a name, or null.
    [[nodiscard]] std::shared_ptr<FileSub> TopBackend(const InternedString& name);

    // These ask the backends of `mount`, the most recent one first, until one succeeds. Return
    // nullopt if `mount` is not mounted, else whether a backend succeeded.
    using Answer = std::optional<bool>;
    [[nodiscard]] Answer OpenWrite(const InternedString& mount, OpenFile& file, const char* name,
                                   OpenFlags flags);
    [[nodiscard]] Answer OpenRead(const InternedString& mount, OpenFile& file, const char* name,
                                  OpenFlags flags);
    [[nodiscard]] Answer Exists(const InternedString& mount, const char* name);
    // Asks every backend that is not read-only; true if any deleted the file. First waits, without
    // the lock, until no other process changes an archive that has the member.
    [[nodiscard]] Answer Delete(const InternedString& mount, const char* name);
    [[nodiscard]] Answer Rename(const InternedString& mount, const char* oldName,
                                const char* newName);
    [[nodiscard]] Answer MakeDirectory(const InternedString& mount, const char* name);
    // Deletes the tree at the real path that the first backend with one returns.
    [[nodiscard]] Answer DeleteDirectory(const InternedString& mount, const char* name);
    [[nodiscard]] Answer Stat(const InternedString& mount, std::uint32_t& writeTime,
                              const char* name);
    // Replaces `name` by the real path that the first backend with one returns.
    [[nodiscard]] Answer GetRealPath(const InternedString& mount, PathSpan name);

    // Returns the available backends, the most recent mount first; nullopt if it is not mounted.
    [[nodiscard]] std::optional<FileSubs> Collect(const InternedString& mount);
    // Appends the archives that Delete waits for.
    void CollectToDelete(const InternedString& mount, const char* name, FileSubs& list);
    // Returns the number of files open through the mounts of a name; 0 if it is not mounted.
    [[nodiscard]] int OpenFileCount(const InternedString& mount);

private:
    // Which backends an operation may ask: the available ones; the writable ones, also those whose
    // storage does not exist yet; those that are both.
    enum class May { Read, Write, Modify };

    struct Backend {
        std::shared_ptr<FileSub> sub;
        bool asked = false;  // by a caller of the current operation
    };
    using Backends = std::vector<Backend>;  // the most recent mount last

    FileSubstList();
    ~FileSubstList();

    // Returns the backends of a name, or null.
    [[nodiscard]] Backends* Find(const InternedString& name) VORN_REQUIRES(lock_);
    // Calls `ask` with each backend that allows `what` until it returns true.
    template <typename Ask>
    [[nodiscard]] Answer AskInTurn(const InternedString& mount, May what, Ask ask);

    CriticalSection lock_{"FileSubstList"};
    struct Entry {
        InternedString name;  // keeps the key alive
        Backends backends;
    };
    std::map<const StringPoolEntry*, Entry> entries_ VORN_GUARDED_BY(lock_);
};

// Calls Subst of the process's list.
void Subst(const InternedString& name, const char* path, bool writable = false);

}  // namespace Vorn
