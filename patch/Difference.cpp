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
    for (const Number number : found.pairs.removed) found.removed.push_back({number});
    SortByName(found.carried, fresh.tree, &Carried::fresh);
    SortByName(found.empty, fresh.tree, std::identity());
    SortByName(found.removed, old.tree, &Removed::old);
    return found;
}

std::vector<std::string> WithoutContent(const Difference& difference) {
    const Input& fresh = difference.fresh;
    std::vector<Number> empty;
    for (Number number = 0; number < fresh.tree.Count(); ++number) {
        if (SizeIn(fresh, number) == 0) empty.push_back(number);
    }
    SortByName(empty, fresh.tree, std::identity());
    std::vector<std::string> names;
    for (const Number number : empty) names.push_back(NameIn(fresh, number));
    return names;
}

void RefuseUncarried(const Difference& difference, bool needsContent) {
    const Input& old = difference.old;
    const Input& fresh = difference.fresh;
    constexpr const char* kUnnamed = "a patch cannot name these members; rename them:";
    NameList newNames;
    NameList oldNames;
    for (const Carried& member : difference.carried) Judge(newNames, fresh.tree[member.fresh].name);
    for (const Number number : difference.empty) Judge(newNames, fresh.tree[number].name);
    for (const Removed& member : difference.removed) Judge(oldNames, old.tree[member.old].name);
    Refuse(fresh, kUnnamed, newNames);
    Refuse(old, kUnnamed, oldNames);
    if (!needsContent) return;
    NameList empty;
    for (const std::string& name : WithoutContent(difference)) empty.Add(ShownName(name));
    Refuse(fresh,
           "a plain patch cannot carry members without content; make it without --plain, or leave "
           "them out with --allow-lossy:",
           empty);
}

// Removed members are offered first: "moved from a member that is gone" is what a person would say,
// even if another old member has the same content. Few members are added and many are old, so the
// map holds the added ones.
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
    for (const Removed& member : difference.removed) offer(member.old);
    for (const Pair& pair : difference.pairs.both) offer(pair.old);
    for (Carried& member : difference.carried) {
        if (!member.old) member.movedFrom = holders[digests.fresh[member.fresh]];
    }
}

List AddedList(const Difference& difference) {
    List list;
    for (const Carried& member : difference.carried) {
        if (!member.old) list[NameIn(difference.fresh, member.fresh)] = member.newMd5;
    }
    return list;
}

List DeletedList(const Difference& difference) {
    List list;
    for (const Removed& member : difference.removed) {
        list[NameIn(difference.old, member.old)] = member.md5;
    }
    return list;
}

List PatchedList(const Difference& difference) {
    List list;
    for (const Carried& member : difference.carried) {
        if (!member.old) continue;
        list[NameIn(difference.fresh, member.fresh)] = member.oldMd5 + '\n' + member.newMd5;
    }
    return list;
}

std::vector<MemberChange> ChangesOf(const Difference& difference) {
    using Kind = MemberChange::Kind;
    const Input& old = difference.old;
    const Input& fresh = difference.fresh;
    std::vector<MemberChange> changes;
    for (const Carried& member : difference.carried) {
        const std::optional<Number>& from = member.movedFrom;
        changes.push_back({.kind = member.old ? Kind::Changed
                                   : from     ? Kind::Moved
                                              : Kind::Added,
                           .name = NameIn(fresh, member.fresh),
                           .oldName = from ? NameIn(old, *from) : std::string(),
                           .oldBytes = member.old ? SizeIn(old, *member.old) : 0,
                           .newBytes = SizeIn(fresh, member.fresh),
                           .patchBytes = member.patchBytes});
    }
    for (const Number number : difference.empty) {
        changes.push_back({.kind = Kind::Empty, .name = NameIn(fresh, number)});
    }
    for (const Removed& member : difference.removed) {
        changes.push_back({.kind = Kind::Removed,
                           .name = NameIn(old, member.old),
                           .oldBytes = SizeIn(old, member.old)});
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
    for (const Carried& member : difference.carried) {
        const std::string name = NameIn(fresh, member.fresh);
        const std::uint64_t bytes = SizeIn(fresh, member.fresh);
        const Sha256Digest& digest = digests.fresh[member.fresh];
        if (member.old) {
            manifest.changed.push_back(
                {name, SizeIn(old, *member.old), digests.old[*member.old], bytes, digest});
        } else if (member.movedFrom) {
            manifest.moved.push_back({name, NameIn(old, *member.movedFrom), bytes, digest});
        } else {
            manifest.added.push_back({name, bytes, digest});
        }
    }
    for (const Removed& member : difference.removed) {
        manifest.removed.push_back(
            {NameIn(old, member.old), SizeIn(old, member.old), digests.old[member.old]});
    }
    for (const Number number : difference.empty) manifest.empty.push_back(NameIn(fresh, number));
    manifest.old = oldSide.get();
    return manifest;
}

}  // namespace patch
