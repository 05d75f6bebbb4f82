// The archive that a tool works on, mounted for a scope.
#pragma once

#include <memory>
#include <optional>

#include "KernelStandard/FileSubArchive.h"
#include "KernelStandard/ScopedMount.h"

namespace Vorn {

// The name under which tools mount their target.
inline const InternedString targetMount = Intern("_ToolArc_");

class TargetMount {
public:
    // Mounts `path` as targetMount for writing, so that a missing archive is created. With
    // `forReading`, an existing one that cannot be written to is mounted for reading. An existing
    // mount of that name is used instead, and not unmounted. Throws FileEx, which names the path,
    // if the archive can be neither opened nor created.
    TargetMount(const char* path, bool forReading);
    // Returns whether this created the archive.
    [[nodiscard]] bool WasCreated() const { return wasCreated_; }

    // Returns the mounted archive; null for a target that is mounted as a folder.
    [[nodiscard]] FileSubArchive* Archive() const { return archive_.get(); }

    // Returns whether the target's members can be read; false for a file that is not an archive.
    [[nodiscard]] bool IsReadable() const;

private:
    // Returns whether this created the archive.
    [[nodiscard]] bool Mount(const char* path, bool forReading);

    std::optional<ScopedMount> mount_;  // nothing if the name was mounted already
    bool wasCreated_ = false;
    std::shared_ptr<FileSubArchive> archive_;  // released first, so that unmounting closes it
};

}  // namespace Vorn
