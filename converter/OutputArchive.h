// The archive that a run writes.
//
// It is built under a name of its own and gets its final name when it is whole and on the storage
// device: however a run ends, there is no unfinished archive under the final name.
#pragma once

#include <string>

#include "kernel/InternedString.h"

class OutputArchive {
public:
    OutputArchive() = default;
    OutputArchive(const OutputArchive&) = delete;
    OutputArchive& operator=(const OutputArchive&) = delete;
    // Deletes an archive that did not get its final name.
    ~OutputArchive() { Discard(); }

    // Creates the archive at `path`, in place of what a killed run left there, and mounts it.
    // False when that fails.
    [[nodiscard]] bool Create(const Vorn::InternedString& mount, const std::string& path);

    // Writes the index, closes the mount, and forces the archive to the storage device. False when
    // any of that fails. The mount is closed in any case.
    [[nodiscard]] bool Complete();

    // Gives a complete archive its final name. False when something has that name; the archive then
    // keeps the one it has.
    [[nodiscard]] bool MoveTo(const std::string& path);
    // The same, in place of a file that has the name.
    [[nodiscard]] bool MoveOver(const std::string& path);

    // Forces the final name to the storage device; false when that fails.
    [[nodiscard]] bool CommitName() const;

    void Discard();

private:
    void CloseMount();
    [[nodiscard]] bool TakeName(const std::string& path, bool moved);

    Vorn::InternedString mount_;  // null once it is closed
    std::string path_;
    bool unfinished_ = false;
};
