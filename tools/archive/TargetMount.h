// The archive under work, mounted for a scope.
#pragma once

#include <memory>

#include "KernelStandard/FileSubArchive.h"
#include "kernel/InternedString.h"

namespace Vorn {

// The substitution under which tools mount their target.
inline constexpr const char* kTargetMountName = "_ToolArc_";

class TargetMount {
public:
    // Mounts `path` under `name`: writable, so that a missing archive is created. One that exists
    // and cannot be written to is mounted for reading when `forReading`. A mount of that name that
    // is there already is used, and left to who made it. Throws FileEx, which names it, when the
    // archive can be neither opened nor created.
    TargetMount(const InternedString& name, const char* path, bool forReading);
    ~TargetMount();
    TargetMount(const TargetMount&) = delete;
    TargetMount& operator=(const TargetMount&) = delete;

    // Whether there was none and this created it.
    [[nodiscard]] bool WasCreated() const { return wasCreated_; }

    // Returns the mounted archive; null for a target that is mounted as a folder.
    [[nodiscard]] FileSubArchive* Archive() const { return archive_.get(); }

    // Whether the target's members can be read: false for a file that is not an archive.
    [[nodiscard]] bool IsReadable() const;

private:
    const InternedString& name_;
    const bool owned_;
    bool wasCreated_ = false;
    std::shared_ptr<FileSubArchive> archive_;
};

}  // namespace Vorn
