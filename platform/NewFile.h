// A file that gets its name when it is whole.
//
// Until then it has none, or where the file system cannot do that, a hidden one; however the
// process ends, nothing half-written has the name that was asked for. A process that is killed may
// leave a hidden file, which FolderHandle::RemoveAbandoned finds. No link is followed.
//
// Threads: one at a time.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "platform/Files.h"
#include "platform/FolderHandle.h"

namespace platform {

class NewFile {
public:
    NewFile() = default;
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    // Begins a file that is to become `name` in `folder`, which must stay open until the file is
    // published or given up. Gives up one that was begun before.
    [[nodiscard]] bool Begin(const FolderHandle& folder, const std::string& name);

    // Returns whether a file was begun that a killed process would leave no trace of.
    [[nodiscard]] bool IsUnnamed() const { return handle_.IsOpen() && hidden_.empty(); }

    // Appends to it. Returns the bytes written, fewer than given if the system stops early.
    [[nodiscard]] std::size_t Write(std::span<const std::byte> bytes);

    // Reads what was written so far; valid until the file is published or given up.
    [[nodiscard]] const FileHandle& File() const { return handle_; }

    // Flushes what was written to the storage device.
    [[nodiscard]] bool Commit() { return handle_.Commit(); }

    // Gives it its name and closes it. With `replace` it takes the place and, if possible, the
    // permissions of a file, or the place of a link, in one step. Without, and for anything else
    // that has the name, returns false with the reason Exists, and can be called again. A delayed
    // write error ends the file.
    [[nodiscard]] bool Publish(bool replace);

    // Removes it.
    void GiveUp();

private:
    [[nodiscard]] bool CreateHidden();
    [[nodiscard]] bool GetHiddenName();
    [[nodiscard]] bool MoveHidden(bool replace);

    const FolderHandle* folder_ = nullptr;
    std::string name_;
    std::string hidden_;  // its name before it is published; empty when it has none
    FileHandle handle_;
};

}  // namespace platform
