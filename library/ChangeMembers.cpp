#include "vaconverter/change.h"

#include <algorithm>
#include <atomic>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "archive/Names.h"
#include "library/ArchiveAccess.h"
#include "library/InPlaceChange.h"
#include "library/NewMembers.h"
#include "library/Packing.h"
#include "library/PatchCalls.h"
#include "library/SameContent.h"
#include "library/Translate.h"
#include "library/Workers.h"
#include "library/WriterData.h"
#include "platform/CodePage.h"

namespace va {
namespace {

using Ordinal = InPlaceChange::Ordinal;
using archive::MemberTable;

Change ChangeOf(Change::Kind kind, const archive::Member& member) {
    return {kind, PublicName(member.name), std::string(member.name), {}, member.size};
}

void ReportChanges(const std::function<void(const Change&)>& changed,
                   const std::vector<Change>& changes) {
    if (!changed) return;
    for (const Change& change : changes) changed(change);
}

// Calls `work` for each member of a name; the first one is what readers find.
template <typename Work>
void ForEachNamed(const MemberTable& members, std::string_view name, const Work& work) {
    for (auto found = members.Find(name); found; found = members.NextOfSameName(*found)) {
        work(*found);
    }
}

// The numbers of the new members whose content the archive has already.
std::vector<bool> FindSame(const std::filesystem::path& path, std::span<const NewMember> members,
                           unsigned threads, const ProgressFunction& progress) {
    std::vector<char> same(members.size(), 0);
    const Archive archive(path);
    std::vector<std::pair<std::size_t, Member>> pairs;
    std::uint64_t total = 0;
    for (std::size_t i = 0; i < members.size(); ++i) {
        const auto number = ArchiveAccess::TreeOf(archive).Find(members[i].name);
        if (!number || archive.Members()[*number].Size() != members[i].size) continue;
        // A name that is spelt otherwise, or one that several members have, is written anew.
        if (archive.Members()[*number].StoredName() != members[i].name) continue;
        pairs.emplace_back(i, archive.Members()[*number]);
        total += members[i].size;
    }
    WorkProgress work(progress, "comparing", total);
    const auto runs = CutRuns(pairs.size(), [&](std::size_t i) { return pairs[i].second.Size(); });
    RunPieces(runs.size(), threads, work, [&](unsigned, std::size_t run) {
        const auto ours = ArchiveAccess::TreeOf(archive).NewReader();
        for (std::size_t i = runs[run].begin; i < runs[run].end; ++i) {
            const auto& [number, member] = pairs[i];
            const NewMember& wanted = members[number];
            const auto theirs = wanted.tree->NewReader();
            Translated(*wanted.source, [&] { theirs->Begin(wanted.number); });
            const auto next = [&] {
                return Translated(*wanted.source, [&] { return theirs->Next(); });
            };
            try {
                ours->Begin(member.Index());
                same[number] = SameContent([&] { return ours->Next(); }, next,
                                           [&](std::size_t bytes) { work.Add(bytes); });
            } catch (const archive::Error&) {
                // The archive's member is damaged: it is replaced.
                same[number] = 0;
            }
        }
    });
    return {same.begin(), same.end()};
}

// Members of the archive that are not among those to add.
std::vector<Ordinal> Surplus(const MemberTable& members, std::span<const NewMember> wanted,
                             const std::string& under) {
    std::string below = archive::FoldName(StoredBytes(under));
    if (!below.empty() && !below.ends_with('/')) below += '/';
    std::unordered_set<std::string> names;
    for (const NewMember& member : wanted) names.insert(member.folded);
    std::vector<Ordinal> surplus;
    for (Ordinal i = 0; i < members.End(); ++i) {
        const std::string name = archive::FoldName(members.Name(i));
        if (name.starts_with(below) && !names.contains(name)) surplus.push_back(i);
    }
    return surplus;
}

void Write(InPlaceChange& change, const std::filesystem::path& path) {
    Translated(path, [&] {
        (void)change.Begin();
        change.Commit();
    });
}

}  // namespace

ChangeResult ArchiveWriter::AddTo(const std::filesystem::path& path, const AddOptions& options,
                                  const ProgressFunction& progress) const {
    std::vector<NewMember> members = impl_->members.Judged();
    InPlaceChange change(path, options.dryRun);
    ChangeResult result;
    std::vector<Change> changes;
    if (options.sync) {
        for (const Ordinal i : Surplus(change.Members(), members, options.syncUnder)) {
            changes.push_back(ChangeOf(Change::Kind::Deleted, change.Members()[i]));
            change.Drop(i);
            ++result.deleted;
        }
    }
    if (options.update || options.sync) {
        const std::vector<bool> same = FindSame(path, members, options.threads, progress);
        std::size_t at = 0;
        result.same = std::erase_if(members, [&](const NewMember&) { return same[at++]; });
    }
    if (!members.empty() && change.Header().version != archive::kArchiveVersion102) {
        throw Error(ErrorCode::Refused,
                    path.string() +
                        ": archives of an earlier format take no new members; 'va "
                        "create' makes a new one from its members",
                    path);
    }
    for (const NewMember& member : members) {
        bool replaces = false;
        ForEachNamed(change.Members(), member.name, [&](Ordinal found) {
            change.Drop(found);
            replaces = true;
        });
        ++(replaces ? result.replaced : result.added);
        changes.push_back({replaces ? Change::Kind::Replaced : Change::Kind::Added,
                           PublicName(member.name),
                           member.name,
                           {},
                           member.size});
    }
    if (!changes.empty()) {
        std::uint64_t least = members.size() * archive::kMemberPrefixSize;
        if (options.compression == Compression::None) {
            for (const NewMember& member : members) least += member.size;
        }
        change.JudgeRoom(least, members.size());
        if (!options.dryRun) {
            OfPatches([&] {
                Translated(path, [&] {
                    const auto [chunks, table] = change.Begin();
                    PackMembers(members, {options.compression, options.threads}, chunks, table,
                                progress);
                    change.Commit();
                });
            });
        }
    }
    change.Describe(result);
    ReportChanges(options.changed, changes);
    return result;
}

ChangeResult DeleteMembers(const std::filesystem::path& path, std::span<const std::string> names,
                           const ChangeOptions& options) {
    InPlaceChange change(path, options.dryRun);
    std::set<Ordinal> chosen;
    for (const std::string& name : names) {
        const std::size_t before = chosen.size();
        ForEachNamed(change.Members(), name, [&](Ordinal found) { chosen.insert(found); });
        if (chosen.size() == before && !change.Members().Find(name)) {
            throw Error(ErrorCode::NotFound,
                        path.string() + ": there is no member '" + PublicName(name) + "'", path,
                        PublicName(name));
        }
    }
    ChangeResult result{.deleted = chosen.size()};
    std::vector<Change> changes;
    for (const Ordinal i : chosen) {
        changes.push_back(ChangeOf(Change::Kind::Deleted, change.Members()[i]));
        change.Drop(i);
    }
    change.JudgeRoom(0, 0);
    if (!options.dryRun && !chosen.empty()) Write(change, path);
    change.Describe(result);
    ReportChanges(options.changed, changes);
    return result;
}

namespace {

// The members to rename, and their new stored names.
std::vector<std::pair<Ordinal, std::string>> NewNames(const std::filesystem::path& path,
                                                      const MemberTable& members,
                                                      std::string_view oldName,
                                                      std::string_view newName) {
    std::string old = archive::FoldName(StoredBytes(oldName));
    while (old.ends_with('/')) old.pop_back();
    std::string wanted(newName);
    if (wanted.ends_with('/')) {
        std::string_view last = oldName;
        while (last.ends_with('/')) last.remove_suffix(1);
        wanted += last.substr(last.find_last_of("/\\") + 1);
    }
    std::vector<std::pair<Ordinal, std::string>> names;
    const bool isMember = members.Find(old).has_value();
    for (Ordinal i = 0; i < members.End(); ++i) {
        const std::string_view stored = members.Name(i);
        const std::string folded = archive::FoldName(stored);
        if (isMember ? folded == old : folded.starts_with(old + "/")) {
            names.emplace_back(i, wanted + PublicName(stored.substr(old.size())));
        }
    }
    if (!names.empty()) return names;
    throw Error(ErrorCode::NotFound,
                path.string() + ": there is no member or folder '" + std::string(oldName) +
                    "'; run 'va list' to see its members",
                path, std::string(oldName));
}

// Names that no archive can hold, or that another member has.
void JudgeNewNames(const std::filesystem::path& path, const MemberTable& members,
                   std::vector<std::pair<Ordinal, std::string>>& names) {
    patch::NameList unusable;
    patch::NameList taken;
    std::unordered_map<std::string, Ordinal> moving;
    std::set<Ordinal> renamed;
    for (const auto& [ordinal, name] : names) renamed.insert(ordinal);
    for (auto& [ordinal, name] : names) {
        std::string stored = StoredBytes(name);
        if (const char* problem = NameProblemOf(name, stored)) {
            unusable.Add("'" + name + "' " + problem);
            continue;
        }
        bool isTaken = !moving.emplace(archive::FoldName(stored), ordinal).second;
        ForEachNamed(members, stored,
                     [&](Ordinal found) { isTaken = isTaken || !renamed.contains(found); });
        if (isTaken) taken.Add(name);
        name = std::move(stored);
    }
    const std::string where = path.string();
    if (!unusable.IsEmpty()) {
        throw Error(ErrorCode::Refused, where + ": no archive can hold these:" + unusable.Text(),
                    path);
    }
    if (!taken.IsEmpty()) {
        throw Error(
            ErrorCode::Refused,
            where + ": names that are taken; delete or rename those members first:" + taken.Text(),
            path);
    }
}

}  // namespace

ChangeResult RenameMembers(const std::filesystem::path& path, std::string_view oldName,
                           std::string_view newName, const ChangeOptions& options) {
    InPlaceChange change(path, options.dryRun);
    auto names = NewNames(path, change.Members(), oldName, newName);
    JudgeNewNames(path, change.Members(), names);
    std::erase_if(names, [&](const auto& renamed) {
        return change.Members().Name(renamed.first) == renamed.second;
    });
    ChangeResult result{.renamed = names.size()};
    std::vector<Change> changes;
    for (const auto& [ordinal, name] : names) {
        const archive::Member member = change.Members()[ordinal];
        changes.push_back(
            {Change::Kind::Renamed, PublicName(name), name, PublicName(member.name), member.size});
        change.Rename(ordinal, name);
    }
    change.JudgeRoom(0, 0);
    if (!options.dryRun && !names.empty()) Write(change, path);
    change.Describe(result);
    ReportChanges(options.changed, changes);
    return result;
}

}  // namespace va
