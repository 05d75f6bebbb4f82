#include "library/PatchChanges.h"

#include <algorithm>
#include <set>
#include <string_view>

#include "patch/Error.h"

namespace va {

std::vector<MemberChange> ChangesOf(const patch::PatchFile& patchFile) {
    using enum MemberChange::Kind;
    std::vector<MemberChange> changes;
    for (const patch::Change& from : patchFile.Changes()) {
        MemberChange& change = changes.emplace_back();
        change.kind = from.kind == patch::Change::Kind::Changed   ? Changed
                      : from.kind == patch::Change::Kind::Removed ? Removed
                      : !from.movedFrom.empty()                   ? Moved
                      : from.held                                 ? Added
                                                                  : Empty;
        change.name = patch::ShownName(from.name);
        change.oldName = patch::ShownName(from.movedFrom);
        change.oldSize = from.oldBytes;
        change.newSize = from.newBytes;
        if (from.held) change.patchSize = patchFile.Members()[*from.held].storedSize;
    }
    return changes;
}

PatchCounts CountsOf(const std::vector<MemberChange>& changes, std::uint64_t oldMembers) {
    using enum MemberChange::Kind;
    PatchCounts counts;
    std::uint64_t gone = 0;
    // A moved member is listed as added and as removed; it counts once, as moved.
    std::set<std::string_view> sources;
    for (const MemberChange& change : changes) {
        if (change.kind == Moved) sources.insert(change.oldName);
        counts.changed += change.kind == Changed ? 1 : 0;
        counts.added += change.kind == Added || change.kind == Empty ? 1 : 0;
        counts.moved += change.kind == Moved ? 1 : 0;
        gone += change.kind == Changed || change.kind == Removed ? 1 : 0;
    }
    for (const MemberChange& change : changes) {
        counts.removed += change.kind == Removed && !sources.contains(change.name) ? 1 : 0;
    }
    // An old side that is not the promised one may have fewer members than are listed as gone.
    counts.same = oldMembers - std::min(oldMembers, gone);
    return counts;
}

}  // namespace va
