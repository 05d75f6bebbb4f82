// The substitutions: names mounted onto stacks of backends.
//
// A path "name:rest" names the file "rest" inside what is mounted under "name". The last mount of a
// name is asked first. Each operation takes the name, and looks it up and asks its backends under
// one recursive lock, so that no other thread closes the mount between the two; a backend may take
// its own lock inside it, never the other way round.
//
// A backend may itself lead to a mount. One that is being asked is not asked again from within, so
// that mounts in a circle come to an end: the file is found where a way without a circle leads.
//
// Closing a name ends its mount at once: no path finds it, and its archives are completed. Files
// and searches that are open keep their backend alive and go on until they are closed; a member
// that is finished after that is still added, and completes its archive again.
//
// The list lives from its first use, at the latest before main, to the process's exit; what is
// still mounted then is unmounted, which completes archives that were opened writable.
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

// A path at its substitution's name, which is null when the path begins with none.
struct MountPath {
    InternedString mount;
    const char* rest = nullptr;  // after the colon and one separator
};

// "C:\x" and "C:/x" are drive paths.
[[nodiscard]] MountPath SplitMountPath(const char* path);

class FileSubstList {
public:
    static FileSubstList& Instance();

    FileSubstList(const FileSubstList&) = delete;
    FileSubstList& operator=(const FileSubstList&) = delete;

    // Mounts `path` under `name`, on top of what the name has: a directory when it ends in a
    // separator, else an archive file, which is created when it is writable and missing. Throws
    // FileEx when that fails. A null path closes the name; throws FileEx when it is not mounted.
    void Subst(const InternedString& name, const char* path, bool writable);

    // Closes the name; false if it is not mounted.
    bool Close(const InternedString& name);

    // False also for a null handle or an empty name.
    [[nodiscard]] bool IsMounted(const InternedString& name);
    // Whether a path begins with the name of a mount.
    [[nodiscard]] bool NamesMount(const char* path) {
        return IsMounted(SplitMountPath(path).mount);
    }
    // The most recent mount of a name; null when there is none.
    [[nodiscard]] std::shared_ptr<FileSub> TopBackend(const InternedString& name);

    // Each asks the backends of `mount` from the most recent one down. Nothing when that is not
    // mounted; else whether one said yes.
    using Answer = std::optional<bool>;
    [[nodiscard]] Answer OpenWrite(const InternedString& mount, OpenFile& file, const char* name,
                                   OpenFlags flags);
    [[nodiscard]] Answer OpenRead(const InternedString& mount, OpenFile& file, const char* name,
                                  OpenFlags flags);
    [[nodiscard]] Answer Exists(const InternedString& mount, const char* name);
    // Every backend that may is asked; true if any deleted. Waits first, and without the lock, for
    // other processes that change an archive with that member.
    [[nodiscard]] Answer Delete(const InternedString& mount, const char* name);
    [[nodiscard]] Answer Rename(const InternedString& mount, const char* oldName,
                                const char* newName);
    [[nodiscard]] Answer MakeDirectory(const InternedString& mount, const char* name);
    // Deletes the tree at the real path that the first backend gives it.
    [[nodiscard]] Answer DeleteDirectory(const InternedString& mount, const char* name);
    [[nodiscard]] Answer Stat(const InternedString& mount, std::uint32_t& writeTime,
                              const char* name);
    // Replaces `name` by the real path of the first backend that has one.
    [[nodiscard]] Answer GetRealPath(const InternedString& mount, PathSpan name);
    // The available backends, the most recent mount first.
    [[nodiscard]] std::optional<FileSubs> Collect(const InternedString& mount);
    // Appends the archives that Delete waits for.
    void CollectToDelete(const InternedString& mount, const char* name, FileSubs& list);
    // Files open through the mounts of a name; 0 when it is not mounted.
    [[nodiscard]] int OpenFileCount(const InternedString& mount);

private:
    enum class May { Read, Write, Modify };

    struct Backend {
        std::shared_ptr<FileSub> sub;
        bool asked = false;  // somewhere up the stack
    };
    using Backends = std::vector<Backend>;  // the most recent mount last

    FileSubstList();
    ~FileSubstList();

    // Null when the name is not mounted.
    [[nodiscard]] Backends* Find(const InternedString& name) VORN_REQUIRES(lock_);
    // Asks the backends that allow `what` until one says yes.
    template <typename Ask>
    [[nodiscard]] Answer AskInTurn(const InternedString& mount, May what, Ask ask);

    CriticalSection lock_{"FileSubstList"};
    // The names are kept alive by the entries' own handles.
    struct Entry {
        InternedString name;
        Backends backends;
    };
    std::map<const StringPoolEntry*, Entry> entries_ VORN_GUARDED_BY(lock_);
};

// FileSubstList::Instance().Subst
void Subst(const InternedString& name, const char* path, bool writable = false);

}  // namespace Vorn
