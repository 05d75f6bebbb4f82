// Which member becomes which file below a folder, and what is in the way of it.
//
// Nothing is written here, and no link below the folder is followed.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/Error.h"
#include "platform/FolderHandle.h"
#include "vaconverter/archive.h"

namespace va {

struct Planned {
    const Member* member;
    std::string_view path;  // below the folder, in the system's bytes: the end of its name
};

// Throws Error (Refused) for names that are no safe paths, members that would become one file, and
// more content than is allowed.
[[nodiscard]] std::vector<Planned> PlanPaths(const Archive& archive,
                                             std::span<const Member> members,
                                             const ExtractOptions& options);

// The open folders on the way to the last file: neighbours mostly share them.
class FolderChain {
public:
    FolderChain(const platform::FolderHandle& root, bool make) : root_(root), make_(make) {}

    // Returns the folder of the file at `path`; null when it is not there or, with `make`, cannot
    // be made. Valid until the next call.
    [[nodiscard]] const platform::FolderHandle* FolderOf(std::string_view path);

    // Of the last path, if it has no folder: what was found in place of the first one that is
    // missing, why that was not opened, and the nearest folder that was.
    [[nodiscard]] platform::EntryKind Found() const { return found_; }
    [[nodiscard]] const platform::Error& Reason() const { return error_; }
    [[nodiscard]] const platform::FolderHandle& Nearest() const { return *nearest_; }

private:
    struct Level {
        std::string name;
        platform::FolderHandle folder;
    };

    const platform::FolderHandle& root_;
    const bool make_;
    std::vector<Level> levels_;
    std::string missing_;  // with '/' at the end: the folder that the last path lacked
    const platform::FolderHandle* nearest_ = &root_;
    platform::EntryKind found_ = platform::EntryKind::None;
    platform::Error error_{};
};

// Opens the folder that everything is written below, and makes it if it is missing. In a dry run it
// then stays closed, and only what can be known of its making is found out. Throws Error (Refused).
void OpenRoot(const ExtractOptions& options, platform::FolderHandle& root);

// Throws Error (DiskFull) when the files are certain not to fit.
void JudgeRoom(const std::vector<Planned>& plan, const ExtractOptions& options);

// Throws Error (Refused) for what is in the way of the files. Returns the links that are to be
// replaced.
[[nodiscard]] std::vector<std::string> JudgePlaces(const std::vector<Planned>& plan,
                                                   const platform::FolderHandle& root,
                                                   const ExtractOptions& options);

// Removes what killed runs left in the folders that are there. Returns it, below the root.
[[nodiscard]] std::vector<std::string> RemoveAbandoned(const std::vector<Planned>& plan,
                                                       const platform::FolderHandle& root);

// For the failing system call that came last.
[[noreturn]] void RefuseFile(const char* what, const Planned& planned,
                             const ExtractOptions& options);
// For a file whose folder the chain has just not found or made.
[[noreturn]] void RefuseFolderOf(const Planned& planned, const FolderChain& chain,
                                 const ExtractOptions& options);

}  // namespace va
