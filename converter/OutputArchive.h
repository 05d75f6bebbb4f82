// The archive that a run writes.
//
// It is built under a separate name and gets its final name when it is whole and on the storage
// device: however a run ends, there is no unfinished archive under the final name. A failure that
// these operations report is named on standard error, unless the caller knows more.
#pragma once

#include <optional>
#include <string>

#include "KernelStandard/ScopedMount.h"
#include "platform/PathLock.h"

namespace converter {

// After the name of an archive that is not whole yet.
inline constexpr const char* kPartEnding = ".part";

// Waits until no other run writes the result at `path`. False, after a line, if the lock file
// beside it cannot be created.
[[nodiscard]] bool LockOutput(platform::PathLock& lock, const std::string& path);

class OutputArchive {
public:
    OutputArchive() = default;
    OutputArchive(const OutputArchive&) = delete;
    OutputArchive& operator=(const OutputArchive&) = delete;
    // Deletes an archive that did not get its final name.
    ~OutputArchive() { Discard(); }

    // Creates the archive as `path` with kPartEnding, in place of what a killed run left there, and
    // mounts it. False, after a line, if that fails.
    [[nodiscard]] bool Create(const Vorn::InternedString& mount, const std::string& path);

    // Writes the index, closes the mount, and forces the archive to the storage device. False,
    // after a line, if any of that fails. The mount is closed in any case.
    [[nodiscard]] bool Complete();

    // Gives a complete archive its final name. False if something has that name; the archive then
    // keeps the one it has.
    [[nodiscard]] bool MoveTo(const std::string& path);
    // The same, replacing a file of that name.
    [[nodiscard]] bool MoveOver(const std::string& path);

    // Forces the final name to the storage device.
    [[nodiscard]] bool CommitName() const;

    void Discard();

private:
    [[nodiscard]] bool TakeName(const std::string& path, bool moved);

    std::optional<Vorn::ScopedMount> mount_;  // until Complete or Discard
    std::string path_;
    bool unfinished_ = false;
};

}  // namespace converter
