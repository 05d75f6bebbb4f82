#include "KernelStandard/ArchiveSearch.h"

#include <algorithm>

#include "kernel/Paths.h"
#include "platform/Directories.h"

namespace Vorn {

bool ArchiveSearch::Next(std::string_view pattern, archive::FindEntry& entry, bool advance) {
    if (archive_.TimesRead() != timesRead_) return false;
    if (!prepared_) Prepare(pattern);
    while (const auto ordinal = NextMember()) {
        const std::string_view name = archive_.Table().Name(*ordinal);
        // If only the name's beginning up to a separator matches, that is a folder.
        std::size_t dirEnd = std::string_view::npos;
        const bool matched = MatchWildcards(name, pattern, &dirEnd);
        if (!matched && dirEnd >= name.size()) continue;

        entry = archive_.EntryOf(*ordinal);
        if (!matched) {
            std::fill(entry.name.begin() + static_cast<std::ptrdiff_t>(dirEnd), entry.name.end(),
                      '\0');
            entry.attributes |= platform::kAttributeDirectory | platform::kAttributeReadOnly;
        }
        MoveTo(*ordinal, advance);
        return true;
    }
    return false;
}

void ArchiveSearch::MoveTo(Ordinal ordinal, bool advance) {
    const archive::Member member = archive_.Table()[ordinal];
    position_ = advance ? member.DataEnd() : member.dataOffset;
}

void ArchiveSearch::Prepare(std::string_view pattern) {
    prepared_ = true;
    // With a folder that holds no wildcards, only the members below it can match.
    const std::size_t separator = pattern.find_last_of("/\\");
    if (separator == std::string_view::npos) return;
    const std::string_view folder = pattern.substr(0, separator + 1);
    if (folder.find_first_of("*?") != std::string_view::npos) return;
    candidates_ = archive_.Folders().MembersBelow(archive_.Table(), folder);
    next_ = archive_.Table().End();
}

std::optional<ArchiveSearch::Ordinal> ArchiveSearch::NextMember() {
    const archive::MemberTable& members = archive_.Table();
    while (nextCandidate_ < candidates_.size()) {
        const Ordinal candidate = candidates_[nextCandidate_++];
        if (members.Has(candidate)) return candidate;
    }
    while (next_ < members.End()) {
        const Ordinal candidate = next_++;
        if (members.Has(candidate)) return candidate;
    }
    // All known members were returned: the rest of the file may have more of them. The cursor is
    // not kept, because what it has read ahead grows old.
    archive::Cursor cursor(archive_.File(), std::max(position_, members.EndOfData()));
    const auto found = archive_.Walk(cursor);
    position_ = cursor.Position();
    next_ = members.End();
    return found;
}

}  // namespace Vorn
