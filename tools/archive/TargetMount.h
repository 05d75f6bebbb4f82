// The archive that a tool works on, mounted for a scope.
#pragma once

#include <memory>

#include "KernelStandard/FileSubArchive.h"
#include "kernel/InternedString.h"

namespace Vorn {

// The substitution under which tools mount their target.
inline constexpr const char* kTargetMountName = "_ToolArc_";

class TargetMount {
public:
    // Mounts `path` under `name` for writing, so that a missing archive is created. With
    // `forReading`, an existing one that cannot be written to is mounted for reading. An existing
    // mount of that name is used instead, and not unmounted. Throws FileEx, which names the path,
    // if the archive can be neither opened nor created.
    TargetMount(const InternedString& name, const char* path, bool forReading);
    ~TargetMount();
    TargetMount(const TargetMount&) = delete;
    TargetMount& operator=(const TargetMount&) = delete;

    // Returns whether this created the archive.
    [[nodiscard]] bool WasCreated() const { return wasCreated_; }

    // Returns the mounted archive; null for a target that is mounted as a folder.
    [[nodiscard]] FileSubArchive* Archive() const { return archive_.get(); }

    // Returns whether the target's members can be read; false for a file that is not an archive.
    [[nodiscard]] bool IsReadable() const;

private:
    const InternedString& name_;
    const bool owned_;
    bool wasCreated_ = false;
    std::shared_ptr<FileSubArchive> archive_;
};

}  // namespace Vorn
