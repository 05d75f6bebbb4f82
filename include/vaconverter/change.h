// Changing asset archives (`.va`) in place.
//
// New members and a new index are written past the end of the file; one write of 8 bytes then makes
// them count. However a run ends, the archive holds all members that it had, or all that it was to
// have, and one that is open meanwhile gives what it gave. Bytes of replaced and deleted members
// and of old indexes stay in the file as dead bytes.
//
// Changes take turns by a lock on the file, which VArchive takes too. Archives whose index is
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
    bool dryRun = false;  // do all but write
    // Called for each member that was changed, when the change is made.
    std::function<void(const Change&)> changed{};
};

// Deletes the members of these stored names. Throws Error: NotFound if there is none of a name.
ChangeResult DeleteMembers(const std::filesystem::path& archive, std::span<const std::string> names,
                           const ChangeOptions& options = {});

// Gives a member, or all members below a folder, another name; both in UTF-8. A new name that ends
// in '/' is a folder to move into. Throws Error: NotFound if nothing has the old name; Refused if
// a new name is taken or no archive can hold it.
ChangeResult RenameMembers(const std::filesystem::path& archive, std::string_view oldName,
                           std::string_view newName, const ChangeOptions& options = {});

}  // namespace va
