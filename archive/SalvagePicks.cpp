#include "archive/SalvagePicks.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "archive/Names.h"

namespace archive {
namespace {

constexpr const char* kNoSum = "it has no check sum, which would prove its content";

[[nodiscard]] std::string ChunkCalls(std::string_view name) {
    return "the index calls it so, and its chunk '" + std::string(name) + "'";
}

[[nodiscard]] bool LacksSum(const Member& member) { return member.crc == 0 && member.size > 0; }

}  // namespace

SalvagePicks::SalvagePicks(const Salvage& salvage)
    : salvage_(salvage), hasSums_(salvage.HasCheckSums()), used_(salvage.scanned_.chunks.size()) {}

void SalvagePicks::Save(SalvagedMember member, bool believed) {
    extents_.emplace_back(member.place, member.place + member.numbers.storedSize);
    Pick& pick = byName_[FoldName(member.name)];
    const Rank rank{believed, member.place};
    if (pick.saved) ++older_;
    if (pick.saved && rank < pick.savedRank) return;
    pick.savedRank = rank;
    pick.saved = std::move(member);
}

void SalvagePicks::Lose(SalvagedMember member, bool believed) {
    Pick& pick = byName_[FoldName(member.name)];
    const Rank rank{believed, member.place};
    if (pick.lost && rank < pick.lostRank) return;
    pick.lostRank = rank;
    pick.lost = std::move(member);
}

bool SalvagePicks::HasLost(std::string_view name) const {
    const auto pick = byName_.find(FoldName(name));
    return pick != byName_.end() && pick->second.lost.has_value();
}

bool SalvagePicks::IsInside(std::uint64_t place) const {
    const auto after = std::ranges::upper_bound(listed_, std::pair(place, UINT64_MAX));
    return after != listed_.begin() && place < std::prev(after)->second;
}

bool SalvagePicks::PickRecord(const Index& index, MemberTable::Ordinal ordinal) {
    const MemberTable& table = index.found->records;
    const Member member = table[ordinal];
    const Record& record = index.records[ordinal];
    const bool hasChunk = record.chunk != kNone;
    const Member chunk = hasChunk ? salvage_.MemberOf(record.chunk) : Member{};
    if (table.Find(member.name) != ordinal) {
        // A name that damage has made that of another one leaves the chunk to itself.
        if (hasChunk && SameName(chunk.name, member.name)) used_[record.chunk] = 1;
        ++older_;
        return true;
    }
    const bool agrees = hasChunk && record.claim == kNone && Salvage::SameNumbers(chunk, member);
    const bool sameName = hasChunk && SameName(chunk.name, member.name);
    if (agrees || sameName) used_[record.chunk] = 1;
    const std::size_t like = salvage_.ChunkLike(member);
    SalvagedMember found;
    if (agrees && salvage_.IsWhole(record.chunk)) {
        found = salvage_.Described(record.chunk);
        // Of two names the one that readers find; else the index's, which they have used so far.
        const bool byChunk = NameProblem(member.name) && !NameProblem(chunk.name);
        if (!byChunk) found.name = member.name;
        if (!SameName(chunk.name, member.name)) {
            found.doubt =
                byChunk ? "its chunk calls it so, and the index '" + std::string(member.name) + "'"
                        : ChunkCalls(chunk.name);
        } else if (LacksSum(member) && hasSums_ && chunk.name != member.name) {
            return false;
        } else if (LacksSum(member)) {
            found.doubt = kNoSum;
        }
    } else if (salvage_.IsWhole(record.claim) && !(LacksSum(member) && hasSums_)) {
        found = salvage_.Described(record.claim);
        if (LacksSum(member)) found.doubt = kNoSum;
    } else if (salvage_.IsWhole(like) && !LacksSum(member)) {
        used_[like] = 1;
        found = salvage_.Described(like);
    } else if (hasChunk && salvage_.IsWhole(record.chunk) && !LacksSum(chunk)) {
        // The record is the damaged one, or its member lies elsewhere.
        found = salvage_.Described(record.chunk);
        if (!sameName) {
            if (used_[record.chunk] == 0) Save(std::move(found), true);
            used_[record.chunk] = 1;
            return false;
        }
    } else {
        return false;
    }
    Save(std::move(found), true);
    return true;
}

// Saves members that have lost both place and name: sizes and check sum are those of a chunk that
// no other record has.
void SalvagePicks::PickMissing(const std::vector<Missing>& missing) {
    const auto keyOf = [](const Member& member) {
        return std::tuple(member.crc, member.size, member.storedSize);
    };
    std::map<std::tuple<std::uint32_t, std::uint32_t, std::uint32_t>, std::size_t> unused;
    if (!missing.empty()) {
        for (std::size_t i = 0; i < salvage_.scanned_.chunks.size(); ++i) {
            const Member chunk = salvage_.MemberOf(i);
            if (used_[i] == 0 && salvage_.IsWhole(i) && chunk.crc != 0) unused[keyOf(chunk)] = i;
        }
    }
    for (const auto& [index, ordinal] : missing) {
        const Member member = index->found->records[ordinal];
        const auto found = unused.find(keyOf(member));
        if (found == unused.end()) {
            Lose(DescribedLost(*index, ordinal), true);
            continue;
        }
        SalvagedMember saved = salvage_.Described(found->second);
        saved.doubt = ChunkCalls(saved.name);
        saved.name = member.name;
        used_[found->second] = 1;
        unused.erase(found);
        Save(std::move(saved), true);
    }
}

SalvagedMember SalvagePicks::DescribedLost(const Index& index, MemberTable::Ordinal ordinal) const {
    const Member member = index.found->records[ordinal];
    const Record& record = index.records[ordinal];
    const std::size_t claim = record.claim == kNone ? record.chunk : record.claim;
    SalvagedMember lost{.name = std::string(member.name), .numbers = member};
    lost.numbers.name = {};
    lost.place = index.base + member.dataOffset;
    lost.doubt = *record.reason != '\0' ? record.reason
                 : claim == kNone || salvage_.claims_[claim].reason.empty()
                     ? kNoSum
                     : salvage_.claims_[claim].reason;
    return lost;
}

void SalvagePicks::PickChunk(std::size_t chunk) {
    const FoundChunk& found = salvage_.scanned_.chunks[chunk];
    if (used_[chunk] != 0 || !found.live || found.inner || IsInside(found.place)) return;
    const Index* const index = salvage_.IndexOver(found.place);
    if (index && index->covers && !HasLost(salvage_.MemberOf(chunk).name)) {
        ++unlisted_;
        return;
    }
    SalvagedMember member = salvage_.Described(chunk);
    if (LacksSum(member.numbers) && member.doubt.empty()) member.doubt = kNoSum;
    if (found.mayBeInner && member.doubt.empty()) {
        member.doubt = "it may belong to an archive inside this one";
    }
    const bool whole = salvage_.IsWhole(chunk) && !(LacksSum(member.numbers) && hasSums_);
    if (whole) {
        Save(std::move(member), !index);
    } else {
        Lose(std::move(member), !index);
    }
}

// Counts what headers promise beyond what has a name.
void SalvagePicks::CountPromised(SalvageResult& result) const {
    std::uint64_t promised = 0;
    result.indexed = !salvage_.scanned_.headers.empty();
    for (const FoundHeader& found : salvage_.scanned_.headers) {
        const std::uint64_t place = found.base + found.header.indexOffset;
        const auto index = std::ranges::find(salvage_.scanned_.indexes, place, &FoundIndex::place);
        const bool whole = index != salvage_.scanned_.indexes.end() && index->intact;
        if (!whole) result.indexed = false;
        const std::uint64_t most = found.header.indexOffset / kMemberPrefixSize;
        promised += whole ? index->records.Count()
                          : (found.header.memberCount <= most ? found.header.memberCount : 0);
    }
    const std::uint64_t named = result.saved.size() + result.lost.size() + result.older;
    result.unnamed = promised - std::min(promised, named);
}

SalvageResult SalvagePicks::Resolve() {
    std::vector<Missing> missing;
    for (const Index& index : salvage_.indexes_) {
        for (MemberTable::Ordinal i = 0; i < index.records.size(); ++i) {
            const bool picked = PickRecord(index, i);
            if (!picked && index.trusted) missing.push_back({&index, i});
        }
    }
    PickMissing(missing);
    listed_ = extents_;
    std::ranges::sort(listed_);
    for (std::size_t i = 0; i < salvage_.scanned_.chunks.size(); ++i) PickChunk(i);

    SalvageResult result;
    for (auto& [name, pick] : byName_) {
        if (pick.lost && (!pick.saved || pick.savedRank < pick.lostRank)) {
            if (pick.saved) {
                pick.saved->doubt = "an older one: the last one of this name is damaged";
            }
            result.lost.push_back(std::move(*pick.lost));
        }
        if (pick.saved) result.saved.push_back(std::move(*pick.saved));
    }
    std::ranges::stable_sort(result.saved, {}, &SalvagedMember::place);
    std::ranges::stable_sort(result.lost, {}, &SalvagedMember::place);
    result.older = older_;
    result.unlisted = unlisted_;
    const auto& headers = salvage_.scanned_.headers;
    if (!headers.empty()) result.header = headers.front().header;
    CountPromised(result);
    return result;
}

}  // namespace archive
