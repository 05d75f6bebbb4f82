// One search over the members of an archive.
//
// Members come in stored order: the known ones, then those that a walk over the rest of the file
// finds. A search ends when the archive is read again, because ordinals then mean other members.
//
// Borrows the members. Not locked: the lock of the archive's backend guards it.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "KernelStandard/ArchiveMembers.h"

namespace Vorn {

class ArchiveSearch {
public:
    using Ordinal = ArchiveMembers::Ordinal;

    explicit ArchiveSearch(ArchiveMembers& archive)
        : archive_(archive), timesRead_(archive.TimesRead()) {}

    // Finds the next entry that matches `pattern` (MatchWildcards), which should be the same in
    // each call. A member below a folder that the pattern matches gives an entry of that folder,
    // once for every such member. `advance` moves the search past the member's data.
    [[nodiscard]] bool Next(std::string_view pattern, archive::FindEntry& entry, bool advance);
    // Moves to a member that was looked up by name, or past its data.
    void MoveTo(Ordinal ordinal, bool advance);

private:
    void Prepare(std::string_view pattern);
    [[nodiscard]] std::optional<Ordinal> NextMember();

    ArchiveMembers& archive_;
    unsigned timesRead_;
    std::uint64_t position_ = archive::kFirstChunkOffset;  // a walk continues from here
    bool prepared_ = false;
    std::vector<Ordinal> candidates_;  // members below the pattern's folder
    std::size_t nextCandidate_ = 0;
    Ordinal next_ = 0;  // after the candidates: every known member from here on
};

}  // namespace Vorn
