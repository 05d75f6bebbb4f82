// The folders of one archive's members, for the mount layer: which names are directories, and which
// members lie below one.
//
// Not locked: the archive's lock guards it.
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

    // Makes the directories on the way to `name` known to IsDirectory.
    void AddDirectoriesOf(std::string_view name);
    // Whether `name` is a known directory; with `normalise` in any letter case, with either
    // separator and one trailing separator ignored.
    [[nodiscard]] bool IsDirectory(std::string_view name, bool normalise);

    // The ordinals, ascending, of the members whose names begin with `prefix`: any letter case,
    // either separator, a leading "./" ignored on both sides. Finding them costs no look at the
    // others, so that walking a tree folder by folder costs members times depth.
    [[nodiscard]] std::vector<Ordinal> MembersBelow(const archive::MemberTable& members,
                                                    std::string_view prefix);

private:
    void SortNewNames(const archive::MemberTable& members);

    std::unordered_set<InternedString, InternedHash> directories_;
    std::string lastDirectory_;    // what the last directory test found
    std::vector<Ordinal> byName_;  // in the canonical order; may lag behind the members
};

}  // namespace Vorn
