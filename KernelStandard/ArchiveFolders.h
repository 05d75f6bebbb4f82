// Knows the folders of one archive's members: which names are directories, and which members lie
// below one. An archive stores no directories; they follow from the members' names.
//
// Not locked: the lock of the archive's backend guards it.
#pragma once

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "archive/MemberTable.h"
#include "kernel/InternedString.h"

namespace Vorn {

class ArchiveFolders {
public:
    using Ordinal = archive::MemberTable::Ordinal;

    // Makes the parent directories of `name` known to IsDirectory.
    void AddDirectoriesOf(std::string_view name);
    // Returns whether `name` is a known directory. With `normalise`, letter case, the kind of
    // separator and one trailing separator do not matter.
    [[nodiscard]] bool IsDirectory(std::string_view name, bool normalise);

    // Returns the ordinals, ascending, of the members whose names begin with `prefix`. Letter case,
    // the kind of separator and a leading "./" on either side do not matter. The other members are
    // not visited, so that walking a whole tree folder by folder costs members times depth.
    [[nodiscard]] std::vector<Ordinal> MembersBelow(const archive::MemberTable& members,
                                                    std::string_view prefix);

private:
    void SortNewNames(const archive::MemberTable& members);

    std::unordered_set<InternedString, InternedHash> directories_;
    std::string lastDirectory_;    // the last name that IsDirectory found
    std::vector<Ordinal> byName_;  // sorted by CompareNames; the newest members may be missing
};

}  // namespace Vorn
