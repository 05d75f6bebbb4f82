// Open folders, and new files in them, for code that writes where others may write too.
//
// Everything is named by one component below an open folder, exactly as given, and no link is ever
// followed: nothing that another process moves or plants meanwhile leads a write to another place.
//
// Threads: a folder may be used by several threads at once; a new file belongs to one.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Directories.h"
#include "platform/Files.h"

namespace platform {

// The last component of a path, and what is before it.
struct FilePlace {
    std::string folder;  // with the separator at its end; empty for the current folder
    std::string name;
};
[[nodiscard]] FilePlace PlaceOf(std::string_view path);

// What the hidden names for `name` begin with: ".NAME.va-", of a long name the beginning.
[[nodiscard]] std::string HiddenStem(std::string_view name);
// Returns a hidden name for `name` that no other run chooses: its stem and six letters.
[[nodiscard]] std::string HiddenName(std::string_view name);

// Owns one open folder. Moving leaves the source closed.
class FolderHandle {
public:
    FolderHandle() noexcept = default;
    FolderHandle(FolderHandle&& other) noexcept;
    FolderHandle& operator=(FolderHandle&& other) noexcept;
    FolderHandle(const FolderHandle&) = delete;
    FolderHandle& operator=(const FolderHandle&) = delete;
    ~FolderHandle();

    // Opens a folder by its path, which may lead through links: the caller named it. The current
    // folder for an empty one.
    [[nodiscard]] bool Open(const char* path);

    // Opens the nearest folder on the way to a place that is there, which becomes that folder and
    // the name that is to be made in it.
    [[nodiscard]] bool OpenNearest(FilePlace& place);

    // Opens the folder `name` in `parent`; `make` creates it if it is missing. False for a link.
    [[nodiscard]] bool OpenIn(const FolderHandle& parent, const std::string& name, bool make);

    [[nodiscard]] bool IsOpen() const noexcept { return descriptor_ >= 0; }

    // Returns what has that name in this folder, a link not followed.
    [[nodiscard]] EntryKind KindOf(const std::string& name) const;

    // Returns whether a new file could get that name here, so that no work is done for one that
    // cannot: the folder takes new files, and the name is not too long. Leaves no trace; the disk
    // may be full all the same.
    [[nodiscard]] bool CanTake(const std::string& name) const;

    // Removes the hidden files that killed runs left here: those that no process holds, and whose
    // stem (HiddenStem) `wanted` accepts. Returns their names.
    [[nodiscard]] std::vector<std::string> RemoveAbandoned(
        const std::function<bool(std::string_view stem)>& wanted) const;

private:
    friend class NewFile;

    void Close() noexcept;

    int descriptor_ = -1;
};

// A file that gets its name when it is whole. Until then it has none, or where the file system
// cannot do that, a hidden one; however the process ends, nothing half-written has the name that
// was asked for. A process that is killed may leave a hidden file, which RemoveAbandoned finds.
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
