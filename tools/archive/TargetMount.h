// The archive under work, mounted for a scope.
#pragma once

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

    // False for a file that is not an archive or cannot be read.
    [[nodiscard]] bool IsReadable() const;

    // Waits until no other process changes the archive. False when one still does after a while;
    // see FileSubArchive.
    [[nodiscard]] bool BeginChanges();

    // Whether the header promises an index that is not there, or is cut short: members may be
    // missing.
    [[nodiscard]] bool LacksIndex() const;

    // Writes the index of an archive that has changed. False when that failed: readers then walk
    // the archive.
    [[nodiscard]] bool Complete();

    // Whether the archive had no room for the last member that failed: nothing in it passes 4 GiB.
    [[nodiscard]] bool WasFull() const;

private:
    const InternedString& name_;
    const bool owned_;
    bool wasCreated_ = false;
};

}  // namespace Vorn
