// The substitutions: names mounted onto stacks of backends.
//
// A path "name:rest" names the file "rest" inside what is mounted under "name". The last mount of a
// name is asked first. One recursive lock guards the list and is held during every call into a
// backend; a backend may take its own lock inside it, never the other way round.
//
// The list lives from its first use, at the latest before main, to the process's exit; what is
// still mounted then is unmounted, which completes archives that were opened writable.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "KernelStandard/FileSub.h"
#include "kernel/InternedString.h"
#include "kernel/SyncObject.h"

namespace Vorn {

class File;

// One name and its backends. Owned by the list; valid until the name is closed.
struct SubstEntry {
    InternedString name;
    std::vector<std::unique_ptr<FileSub>> backends;  // the most recent mount last
};

class FileSubstList {
public:
    static FileSubstList& Instance();

    FileSubstList(const FileSubstList&) = delete;
    FileSubstList& operator=(const FileSubstList&) = delete;

    // Mounts `path` under `name`, on top of what the name has: a directory when it ends in a
    // separator, else an archive file, which is created when it is writable and missing. Throws
    // FileEx when that fails. A null path closes the name and destroys its backends, also those
    // with open files; throws FileEx when the name is not mounted.
    void Subst(const InternedString& name, const char* path, bool writable);

    // The entry, or null; also for a null handle or an empty name.
    [[nodiscard]] SubstEntry* FindSubst(const InternedString& name);

    // The entry that a path begins with, or null, and the rest of the path after the colon and one
    // separator. "C:\x" and "C:/x" are drive paths.
    [[nodiscard]] SubstEntry* GetSubstOfPath(const char* path, const char*& rest);

    // Whether a path begins with the name of a mount.
    [[nodiscard]] bool NamesMount(const char* path);

    // Each asks the backends of an entry from the most recent mount down.
    [[nodiscard]] bool OpenWrite(SubstEntry& entry, File& file, const char* name, OpenFlags flags);
    [[nodiscard]] bool OpenRead(SubstEntry& entry, File& file, const char* name, OpenFlags flags);
    [[nodiscard]] bool Exists(SubstEntry& entry, const char* name);
    // Every backend that may is asked; true if any deleted.
    [[nodiscard]] bool Delete(SubstEntry& entry, const char* name);
    [[nodiscard]] bool Rename(SubstEntry& entry, const char* oldName, const char* newName);
    [[nodiscard]] bool MakeDirectory(SubstEntry& entry, const char* name);
    [[nodiscard]] bool Stat(SubstEntry& entry, std::uint32_t& writeTime, const char* name);
    // Replaces `name` by the real path of the first backend that has one.
    [[nodiscard]] bool GetRealPath(SubstEntry& entry, PathSpan name);
    // The same among the backends that may be modified.
    [[nodiscard]] bool GetWritablePath(SubstEntry& entry, PathSpan name);
    // The available backends, the most recent mount first.
    [[nodiscard]] std::vector<FileSub*> Collect(SubstEntry& entry);
    [[nodiscard]] int OpenFileCount(SubstEntry& entry);

private:
    FileSubstList();
    ~FileSubstList();

    void Mount(const InternedString& name, const char* path, bool writable) VORN_REQUIRES(lock_);
    void CloseSubst(const InternedString& name) VORN_REQUIRES(lock_);

    CriticalSection lock_{"FileSubstList"};
    std::map<const StringPoolEntry*, SubstEntry> entries_ VORN_GUARDED_BY(lock_);
};

// FileSubstList::Instance().Subst
void Subst(const InternedString& name, const char* path, bool writable = false);

}  // namespace Vorn
