// Open folders, for code that writes where others may write too.
//
// Everything is named by one component below an open folder, exactly as given, and no link is ever
// followed: nothing that another process moves or plants meanwhile leads a write to another place.
// NewFile (NewFile.h) makes the files.
//
// Threads: a folder may be used by several threads at once.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Directories.h"

namespace platform {

// The last component of a path, and what is before it.
struct FilePlace {
    std::string folder;  // with the separator at its end; empty for the current folder
    std::string name;
};
[[nodiscard]] FilePlace PlaceOf(std::string_view path);

// Returns how the hidden names for `name` begin: ".NAME.va-", with a long name cut short.
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

}  // namespace platform
