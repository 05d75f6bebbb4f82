// Changing asset archives (`.va`) in place.
//
// New members and a new index are appended to the file; one write of 8 bytes then makes them valid.
// However a run ends, the archive has either all its old members or all its new ones. A reader that
// has the archive open meanwhile still reads the old ones. Bytes of replaced and deleted members
// and of old indexes stay in the file as dead bytes.
//
// A lock on the file, which VArchive takes as well, serialises changes. Archives whose index is
// missing or damaged are refused.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "vaconverter/writer.h"

namespace va {

struct ChangeOptions {
    bool dryRun = false;  // do everything except writing
    // Called for each changed member, after the change was written.
    std::function<void(const Change&)> changed{};
};

// Deletes the members with these stored names. Throws Error (NotFound) if one does not exist.
ChangeResult DeleteMembers(const std::filesystem::path& path, std::span<const std::string> names,
                           const ChangeOptions& options = {});

// Renames a member, or all members below a folder; both names are in UTF-8. A new name that ends in
// '/' is a folder to move them into. Throws Error: NotFound if no member or folder has the old
// name; Refused if a new name exists already or cannot be stored in an archive.
ChangeResult RenameMembers(const std::filesystem::path& path, std::string_view oldName,
                           std::string_view newName, const ChangeOptions& options = {});

}  // namespace va
