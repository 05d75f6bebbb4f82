#include "patch/Difference.h"

#include <algorithm>
#include <future>
#include <map>

#include "archive/Names.h"
#include "patch/NameList.h"

namespace patch {
namespace {

// Why a patch cannot name a member, as a clause; null if it can.
const char* CarryingProblem(const std::string& name) {
    if (const char* problem = archive::NameProblem(name)) return problem;
    if (IsListName(name)) return "is the name of a list of the patch";
    if (archive::FoldName(name).starts_with(kOwnFolder)) return "lies below '.va/'";
    return nullptr;
}

void Judge(NameList& names, std::string_view stored) {
    const std::string name = PatchName(stored);
    if (const char* problem = CarryingProblem(name)) names.Add(ShownName(name) + " " + problem);
}

void Refuse(const Input& side, const std::string& why, const NameList& names) {
    if (!names.IsEmpty()) throw Error(ErrorCode::Refused, side.path, why + names.Text());
}

template <typename Members, typename NumberOf>
void SortByName(Members& members, const archive::Tree& tree, NumberOf numberOf) {
    const auto before = [&tree](Number a, Number b) {
        return archive::CompareNames(tree[a].name, tree[b].name) < 0;
    };
    std::ranges::sort(members, before, numberOf);
}

std::uint64_t SizeIn(const Input& side, Number number) { return side.tree[number].size; }
std::string NameIn(const Input& side, Number number) { return PatchName(side.tree[number].name); }

Side SideOf(const Input& input, std::span<const Sha256Digest> digests) {
    Side side;
    std::vector<Sum> sums;
    sums.reserve(digests.size());
    for (Number number = 0; number < input.tree.Count(); ++number) {
        const archive::TreeMember member = input.tree[number];
        side.bytes += member.size;
        sums.push_back({ShownName(member.name), digests[number]});
    }
    side.members = input.tree.Count();
    side.sha256 = DigestOfSide(std::move(sums));
    return side;
}

}  // namespace

std::string PatchName(std::string_view stored) {
    std::string name(stored);
    std::ranges::replace(name, '\\', '/');
    return name;
}

Difference FindDifference(const Input& old, const Input& fresh, bool digests, unsigned threads,
                          const ProgressFunction& progress) {
    Difference found(old, fresh);
    found.pairs = PairMembers(old, fresh);
    found.digests.old.resize(old.tree.Count());
    found.digests.fresh.resize(fresh.tree.Count());
    ComparePairs(old, fresh, found.pairs, digests ? &found.digests : nullptr, threads, progress);
    for (const Pair& pair : found.pairs.both) {
        if (!pair.same) found.carried.push_back({pair.fresh, pair.old});
    }
    for (const Number number : found.pairs.added) {
        if (SizeIn(fresh, number) > 0) {
            found.carried.push_back({number, std::nullopt});
        } else {
            found.empty.push_back(number);
            found.digests.fresh[number] = Sha256Of(std::string_view());
        }
    }
    found.removed = found.pairs.removed;
    SortByName(found.carried, fresh.tree, &Carried::fresh);
    SortByName(found.empty, fresh.tree, std::identity());
    SortByName(found.removed, old.tree, std::identity());
    found.oldMd5.resize(found.carried.size());
    found.newMd5.resize(found.carried.size());
    found.patchBytes.resize(found.carried.size());
    found.movedFrom.resize(found.carried.size());
    found.removedMd5.resize(found.removed.size());
    return found;
}

void RefuseUncarried(const Difference& difference, bool needsContent) {
    const Input& old = difference.old;
    const Input& fresh = difference.fresh;
    constexpr const char* kUnnamed = "a patch cannot name these members; rename them:";
    NameList newNames;
    NameList oldNames;
    for (const Carried& member : difference.carried) Judge(newNames, fresh.tree[member.fresh].name);
    for (const Number number : difference.empty) Judge(newNames, fresh.tree[number].name);
    for (const Number number : difference.removed) Judge(oldNames, old.tree[number].name);
    Refuse(fresh, kUnnamed, newNames);
    Refuse(old, kUnnamed, oldNames);
    if (!needsContent) return;
    NameList empty;
    for (Number number = 0; number < fresh.tree.Count(); ++number) {
        if (SizeIn(fresh, number) == 0) empty.Add(ShownName(fresh.tree[number].name));
    }
    Refuse(fresh,
           "a plain patch cannot carry members without content; make it without --plain, or leave "
           "them out with --allow-lossy:",
           empty);
}

// A member that is gone is preferred: what has its content is then one that was moved. Few members
// are added and many are old, so the added ones are what is looked up.
void FindMoved(Difference& difference) {
    std::map<Sha256Digest, std::optional<Number>> holders;
    const auto& digests = difference.digests;
    for (const Carried& member : difference.carried) {
        if (!member.old) holders[digests.fresh[member.fresh]] = std::nullopt;
    }
    if (holders.empty()) return;
    const auto offer = [&](Number number) {
        const auto holder = holders.find(digests.old[number]);
        if (holder != holders.end() && !holder->second) holder->second = number;
    };
    std::ranges::for_each(difference.removed, offer);
    for (const Pair& pair : difference.pairs.both) offer(pair.old);
    for (std::size_t i = 0; i < difference.carried.size(); ++i) {
        const Carried& member = difference.carried[i];
        if (!member.old) difference.movedFrom[i] = holders[digests.fresh[member.fresh]];
    }
}

List AddedList(const Difference& difference) {
    List list;
    for (std::size_t i = 0; i < difference.carried.size(); ++i) {
        const Carried& member = difference.carried[i];
        if (!member.old) list[NameIn(difference.fresh, member.fresh)] = difference.newMd5[i];
    }
    return list;
}

List DeletedList(const Difference& difference) {
    List list;
    for (std::size_t i = 0; i < difference.removed.size(); ++i) {
        list[NameIn(difference.old, difference.removed[i])] = difference.removedMd5[i];
    }
    return list;
}

List PatchedList(const Difference& difference) {
    List list;
    for (std::size_t i = 0; i < difference.carried.size(); ++i) {
        const Carried& member = difference.carried[i];
        if (!member.old) continue;
        list[NameIn(difference.fresh, member.fresh)] =
            difference.oldMd5[i] + '\n' + difference.newMd5[i];
    }
    return list;
}

std::vector<MemberChange> ChangesOf(const Difference& difference) {
    using enum MemberChange::Kind;
    const Input& old = difference.old;
    const Input& fresh = difference.fresh;
    std::vector<MemberChange> changes;
    for (std::size_t i = 0; i < difference.carried.size(); ++i) {
        const Carried& member = difference.carried[i];
        const auto& from = difference.movedFrom[i];
        changes.push_back({.kind = member.old ? Changed
                                   : from     ? Moved
                                              : Added,
                           .name = NameIn(fresh, member.fresh),
                           .oldName = from ? NameIn(old, *from) : std::string(),
                           .oldBytes = member.old ? SizeIn(old, *member.old) : 0,
                           .newBytes = SizeIn(fresh, member.fresh),
                           .patchBytes = difference.patchBytes[i]});
    }
    for (const Number number : difference.empty) {
        changes.push_back({.kind = Empty, .name = NameIn(fresh, number)});
    }
    for (const Number number : difference.removed) {
        changes.push_back(
            {.kind = Removed, .name = NameIn(old, number), .oldBytes = SizeIn(old, number)});
    }
    std::ranges::stable_sort(changes, [](const MemberChange& a, const MemberChange& b) {
        return archive::CompareNames(a.name, b.name) < 0;
    });
    return changes;
}

Manifest ManifestOf(const Difference& difference, unsigned threads) {
    const Input& old = difference.old;
    const Input& fresh = difference.fresh;
    const SideDigests& digests = difference.digests;
    Manifest manifest;
    // With many members this takes as long as comparing them.
    auto oldSide = std::async(threads > 1 ? std::launch::async : std::launch::deferred,
                              [&] { return SideOf(old, digests.old); });
    manifest.fresh = SideOf(fresh, digests.fresh);
    for (const Pair& pair : difference.pairs.both) {
        if (pair.same) manifest.spots.Add(old.tree[pair.old].name, digests.old[pair.old]);
    }
    for (std::size_t i = 0; i < difference.carried.size(); ++i) {
        const Carried& member = difference.carried[i];
        const std::string name = NameIn(fresh, member.fresh);
        const std::uint64_t bytes = SizeIn(fresh, member.fresh);
        const Sha256Digest& digest = digests.fresh[member.fresh];
        if (member.old) {
            manifest.changed.push_back(
                {name, SizeIn(old, *member.old), digests.old[*member.old], bytes, digest});
        } else if (difference.movedFrom[i]) {
            manifest.moved.push_back({name, NameIn(old, *difference.movedFrom[i]), bytes, digest});
        } else {
            manifest.added.push_back({name, bytes, digest});
        }
    }
    for (const Number number : difference.removed) {
        manifest.removed.push_back({NameIn(old, number), SizeIn(old, number), digests.old[number]});
    }
    for (const Number number : difference.empty) manifest.empty.push_back(NameIn(fresh, number));
    manifest.old = oldSide.get();
    return manifest;
}

}  // namespace patch
