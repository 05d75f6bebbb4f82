#include "archive/Salvage.h"

#include <algorithm>
#include <array>
#include <map>
#include <tuple>
#include <utility>

#include "archive/Names.h"

namespace archive {
namespace {

constexpr const char* kNoSum = "it has no check sum, which would prove its content";

[[nodiscard]] bool SameNumbers(const Member& a, const Member& b) {
    return a.storedSize == b.storedSize && a.size == b.size && a.crc == b.crc &&
           a.attributes == b.attributes;
}

[[nodiscard]] std::string ChunkCalls(std::string_view name) {
    return "the index calls it so, and its chunk '" + std::string(name) + "'";
}

[[nodiscard]] bool LacksSum(const Member& member) { return member.crc == 0 && member.size > 0; }

}  // namespace

// The members by folded name, with what decides between those of one name.
struct Salvage::Picks {
    // Chunks that a damaged index does not list come before all others; then the later one wins.
    struct Rank {
        bool believed = true;
        std::uint64_t place = 0;
        auto operator<=>(const Rank&) const = default;
    };
    struct Pick {
        std::optional<SalvagedMember> saved{};
        std::optional<SalvagedMember> lost{};
        Rank savedRank{};
        Rank lostRank{};
    };

    void Save(SalvagedMember member, bool believed) {
        extents.emplace_back(member.place, member.place + member.numbers.storedSize);
        Pick& pick = byName[FoldName(member.name)];
        const Rank rank{believed, member.place};
        if (pick.saved) ++older;
        if (pick.saved && rank < pick.savedRank) return;
        pick.savedRank = rank;
        pick.saved = std::move(member);
    }
    void Lose(SalvagedMember member, bool believed) {
        Pick& pick = byName[FoldName(member.name)];
        const Rank rank{believed, member.place};
        if (pick.lost && rank < pick.lostRank) return;
        pick.lostRank = rank;
        pick.lost = std::move(member);
    }
    [[nodiscard]] bool HasLost(std::string_view name) const {
        const auto pick = byName.find(FoldName(name));
        return pick != byName.end() && pick->second.lost.has_value();
    }
    // Whether a place lies in the content of a member that an index lists.
    [[nodiscard]] bool IsInside(std::uint64_t place) const {
        const auto after = std::ranges::upper_bound(listed, std::pair(place, UINT64_MAX));
        return after != listed.begin() && place < std::prev(after)->second;
    }

    std::map<std::string, Pick> byName;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> extents;  // of what is saved
    std::vector<std::pair<std::uint64_t, std::uint64_t>> listed;   // the same, sorted
    bool hasSums = false;
    std::uint64_t older = 0;
    std::uint64_t unlisted = 0;
};

Salvage::Salvage(ScannedFile scanned) : scanned_(std::move(scanned)) {
    claims_.reserve(scanned_.chunks.size());
    for (std::size_t i = 0; i < scanned_.chunks.size(); ++i) {
        FoundChunk& chunk = scanned_.chunks[i];
        claims_.push_back({&scanned_.entries, static_cast<MemberTable::Ordinal>(i), chunk.place,
                           chunk.version, chunk.state, std::move(chunk.reason)});
    }
    used_.resize(scanned_.chunks.size());
    for (auto found = scanned_.indexes.rbegin(); found != scanned_.indexes.rend(); ++found) {
        AcceptIndex(*found);
    }
    DropOverlappingRecords();
    for (std::size_t i = 0; i < claims_.size(); ++i) {
        const bool dead = i < scanned_.chunks.size() && !scanned_.chunks[i].live;
        if (claims_[i].state == Wholeness::Unjudged && !dead) toJudge_.push_back(i);
    }
    std::ranges::stable_sort(toJudge_, {}, [this](std::size_t i) { return claims_[i].place; });
}

// An index that lies among the members of a later one is an earlier state of the archive.
void Salvage::AcceptIndex(const FoundIndex& found) {
    const std::uint64_t base = BaseOf(found);
    for (const Index& later : indexes_) {
        if (found.place >= later.base && found.place < later.end) return;
    }
    Index& index = indexes_.emplace_back(Index{.found = &found, .base = base, .end = found.place});
    PlaceRecords(index);
}

// Returns where the archive of an index begins: where most of its records would find their chunks.
// It is not the start of the file if archives were joined, or bytes were lost.
std::uint64_t Salvage::BaseOf(const FoundIndex& found) const {
    constexpr std::uint32_t kEnough = 256;
    std::map<std::uint64_t, std::uint32_t> votes;
    for (std::uint32_t i = 0; i < std::min(found.records.End(), kEnough); ++i) {
        const Member record = found.records[i];
        const std::size_t chunk = ChunkLike(record);
        if (chunk == kNone || claims_[chunk].place < record.dataOffset) continue;
        ++votes[claims_[chunk].place - record.dataOffset];
    }
    const auto byVotes = [](const auto& a, const auto& b) { return a.second < b.second; };
    if (!votes.empty()) return std::ranges::max_element(votes, byVotes)->first;
    std::uint64_t base = 0;
    for (const FoundHeader& header : scanned_.headers) {
        if (header.base < found.place) base = header.base;
    }
    return base;
}

void Salvage::PlaceRecords(Index& index) {
    const MemberTable& table = index.found->records;
    index.records.resize(table.End());
    index.trusted = std::ranges::any_of(scanned_.headers, [&](const FoundHeader& header) {
        return header.base + header.header.indexOffset == index.found->place;
    });
    for (MemberTable::Ordinal i = 0; i < table.End(); ++i) {
        const Member member = table[i];
        Record& record = index.records[i];
        const std::uint64_t place = index.base + member.dataOffset;
        record.chunk = ChunkAt(place);
        if (record.chunk != kNone) {
            index.end = std::max(index.end, place + member.storedSize);
            if (scanned_.chunks[record.chunk].live && SameNumbers(member, MemberOf(record.chunk))) {
                index.trusted = true;
                continue;
            }
        }
        if (place + member.storedSize > scanned_.size || member.dataOffset < kMemberPrefixSize) {
            record.reason = "the file ends before its data does";
            continue;
        }
        record.claim = claims_.size();
        claims_.push_back(
            {&table, i, place, kArchiveVersion102, Wholeness::Unjudged, std::string()});
        for (const FoundHeader& header : scanned_.headers) {
            if (header.base == index.base) claims_.back().version = header.header.version;
        }
    }
    index.covers = index.found->intact && index.trusted;
}

// Otherwise records that all name the same bytes would have them judged again and again.
void Salvage::DropOverlappingRecords() {
    std::vector<std::pair<Record*, std::uint64_t>> claiming;
    for (Index& index : indexes_) {
        for (Record& record : index.records) {
            if (record.claim != kNone) {
                claiming.emplace_back(&record, claims_[record.claim].place);
            }
        }
    }
    std::ranges::stable_sort(claiming, {}, [](const auto& item) { return item.second; });
    std::uint64_t end = 0;
    for (const auto& [record, place] : claiming) {
        Claim& claim = claims_[record->claim];
        if (place < end) {
            claim.state = Wholeness::Damaged;
            claim.reason = "its place in the index is that of another member";
        } else {
            end = place + (*claim.table)[claim.ordinal].storedSize;
        }
    }
}

std::size_t Salvage::ChunkAt(std::uint64_t place) const {
    const auto found = std::ranges::lower_bound(scanned_.chunks, place, {}, &FoundChunk::place);
    if (found == scanned_.chunks.end() || found->place != place) return kNone;
    return static_cast<std::size_t>(found - scanned_.chunks.begin());
}

// Returns a chunk with the same name and numbers, wherever it lies.
std::size_t Salvage::ChunkLike(const Member& member) const {
    // Many chunks of one name are no archive's: the time must not grow with their square.
    constexpr int kMostTried = 16;
    auto chunk = scanned_.entries.Find(member.name);
    for (int tried = 0; chunk && tried < kMostTried; ++tried) {
        const Member there = scanned_.entries[*chunk];
        if (scanned_.chunks[*chunk].live && there.name == member.name &&
            SameNumbers(there, member)) {
            return *chunk;
        }
        chunk = scanned_.entries.NextOfSameName(*chunk);
    }
    return kNone;
}

std::uint64_t Salvage::SizeToJudge(std::size_t number) const {
    return MemberOf(toJudge_[number]).storedSize;
}

void Salvage::Judge(std::size_t number, WholenessJudge& judge) {
    const std::size_t i = toJudge_[number];
    Claim& claim = claims_[i];
    judge.Judge(MemberOf(i), claim.place, claim.version, claim.state, claim.reason);
}

bool Salvage::IsWhole(std::size_t claim) const {
    return claim != kNone && claims_[claim].state == Wholeness::Whole &&
           (claim >= scanned_.chunks.size() || scanned_.chunks[claim].live);
}

Member Salvage::MemberOf(std::size_t claim) const {
    return (*claims_[claim].table)[claims_[claim].ordinal];
}

bool Salvage::HasCheckSums() const {
    for (std::size_t i = 0; i < claims_.size(); ++i) {
        if (IsWhole(i) && MemberOf(i).crc != 0) return true;
    }
    return false;
}

SalvagedMember Salvage::Described(std::size_t claim) const {
    const Member member = MemberOf(claim);
    SalvagedMember described{.name = std::string(member.name),
                             .numbers = member,
                             .place = claims_[claim].place,
                             .version = claims_[claim].version,
                             .doubt = claims_[claim].reason};
    described.numbers.name = {};
    described.numbers.dataOffset = 0;
    if (IsWhole(claim)) described.doubt.clear();
    return described;
}

const Salvage::Index* Salvage::IndexOver(std::uint64_t place) const {
    for (const Index& index : indexes_) {
        if (place >= index.base + kMemberPrefixSize && place <= index.end) return &index;
    }
    return nullptr;
}

bool Salvage::PickRecord(const Index& index, MemberTable::Ordinal ordinal, Picks& picks) {
    const MemberTable& table = index.found->records;
    const Member member = table[ordinal];
    const Record& record = index.records[ordinal];
    const bool hasChunk = record.chunk != kNone;
    const Member chunk = hasChunk ? MemberOf(record.chunk) : Member{};
    if (table.Find(member.name) != ordinal) {
        // A name that damage has made that of another one leaves the chunk to itself.
        if (hasChunk && SameName(chunk.name, member.name)) used_[record.chunk] = 1;
        ++picks.older;
        return true;
    }
    const bool agrees = hasChunk && record.claim == kNone && SameNumbers(chunk, member);
    const bool sameName = hasChunk && SameName(chunk.name, member.name);
    if (agrees || sameName) used_[record.chunk] = 1;
    const std::size_t like = ChunkLike(member);
    SalvagedMember found;
    if (agrees && IsWhole(record.chunk)) {
        found = Described(record.chunk);
        // Of two names the one that readers find; else the index's, which they have used so far.
        const bool byChunk = NameProblem(member.name) && !NameProblem(chunk.name);
        if (!byChunk) found.name = member.name;
        if (!SameName(chunk.name, member.name)) {
            found.doubt =
                byChunk ? "its chunk calls it so, and the index '" + std::string(member.name) + "'"
                        : ChunkCalls(chunk.name);
        } else if (LacksSum(member) && picks.hasSums && chunk.name != member.name) {
            return false;
        } else if (LacksSum(member)) {
            found.doubt = kNoSum;
        }
    } else if (IsWhole(record.claim) && !(LacksSum(member) && picks.hasSums)) {
        found = Described(record.claim);
        if (LacksSum(member)) found.doubt = kNoSum;
    } else if (IsWhole(like) && !LacksSum(member)) {
        used_[like] = 1;
        found = Described(like);
    } else if (hasChunk && IsWhole(record.chunk) && !LacksSum(chunk)) {
        // The record is the damaged one, or its member lies elsewhere.
        found = Described(record.chunk);
        if (!sameName) {
            if (used_[record.chunk] == 0) picks.Save(std::move(found), true);
            used_[record.chunk] = 1;
            return false;
        }
    } else {
        return false;
    }
    picks.Save(std::move(found), true);
    return true;
}

// Saves members that have lost both place and name: sizes and check sum are those of a chunk that
// is nobody else's.
void Salvage::PickMissing(const std::vector<Missing>& missing, Picks& picks) {
    const auto keyOf = [](const Member& member) {
        return std::tuple(member.crc, member.size, member.storedSize);
    };
    std::map<std::tuple<std::uint32_t, std::uint32_t, std::uint32_t>, std::size_t> unused;
    if (!missing.empty()) {
        for (std::size_t i = 0; i < scanned_.chunks.size(); ++i) {
            const Member chunk = MemberOf(i);
            if (used_[i] == 0 && IsWhole(i) && chunk.crc != 0) unused[keyOf(chunk)] = i;
        }
    }
    for (const auto& [index, ordinal] : missing) {
        const Member member = index->found->records[ordinal];
        const auto found = unused.find(keyOf(member));
        if (found == unused.end()) {
            picks.Lose(DescribedLost(*index, ordinal), true);
            continue;
        }
        SalvagedMember saved = Described(found->second);
        saved.doubt = ChunkCalls(saved.name);
        saved.name = member.name;
        used_[found->second] = 1;
        unused.erase(found);
        picks.Save(std::move(saved), true);
    }
}

SalvagedMember Salvage::DescribedLost(const Index& index, MemberTable::Ordinal ordinal) const {
    const Member member = index.found->records[ordinal];
    const Record& record = index.records[ordinal];
    const std::size_t claim = record.claim == kNone ? record.chunk : record.claim;
    SalvagedMember lost{.name = std::string(member.name), .numbers = member};
    lost.numbers.name = {};
    lost.place = index.base + member.dataOffset;
    lost.doubt = *record.reason != '\0'                            ? record.reason
                 : claim == kNone || claims_[claim].reason.empty() ? kNoSum
                                                                   : claims_[claim].reason;
    return lost;
}

void Salvage::PickChunk(std::size_t chunk, Picks& picks) {
    const FoundChunk& found = scanned_.chunks[chunk];
    if (used_[chunk] != 0 || !found.live || found.inner || picks.IsInside(found.place)) return;
    const Index* const index = IndexOver(found.place);
    if (index && index->covers && !picks.HasLost(MemberOf(chunk).name)) {
        ++picks.unlisted;
        return;
    }
    SalvagedMember member = Described(chunk);
    if (LacksSum(member.numbers) && member.doubt.empty()) member.doubt = kNoSum;
    if (found.mayBeInner && member.doubt.empty()) {
        member.doubt = "it may belong to an archive inside this one";
    }
    const bool whole = IsWhole(chunk) && !(LacksSum(member.numbers) && picks.hasSums);
    if (whole) {
        picks.Save(std::move(member), !index);
    } else {
        picks.Lose(std::move(member), !index);
    }
}

// Counts what headers promise beyond what has a name.
void Salvage::CountPromised(SalvageResult& result) const {
    std::uint64_t promised = 0;
    result.indexed = !scanned_.headers.empty();
    for (const FoundHeader& found : scanned_.headers) {
        const std::uint64_t place = found.base + found.header.indexOffset;
        const auto index = std::ranges::find(scanned_.indexes, place, &FoundIndex::place);
        const bool whole = index != scanned_.indexes.end() && index->intact;
        if (!whole) result.indexed = false;
        const std::uint64_t most = found.header.indexOffset / kMemberPrefixSize;
        promised += whole ? index->records.Count()
                          : (found.header.memberCount <= most ? found.header.memberCount : 0);
    }
    const std::uint64_t named = result.saved.size() + result.lost.size() + result.older;
    result.unnamed = promised - std::min(promised, named);
}

SalvageResult Salvage::Resolve() {
    Picks picks;
    picks.hasSums = HasCheckSums();
    std::vector<Missing> missing;
    for (const Index& index : indexes_) {
        for (MemberTable::Ordinal i = 0; i < index.records.size(); ++i) {
            const bool picked = PickRecord(index, i, picks);
            if (!picked && index.trusted) missing.push_back({&index, i});
        }
    }
    PickMissing(missing, picks);
    picks.listed = picks.extents;
    std::ranges::sort(picks.listed);
    for (std::size_t i = 0; i < scanned_.chunks.size(); ++i) PickChunk(i, picks);

    SalvageResult result;
    for (auto& [name, pick] : picks.byName) {
        if (pick.lost && (!pick.saved || pick.savedRank < pick.lostRank)) {
            if (pick.saved)
                pick.saved->doubt = "an older one: the last one of this name is damaged";
            result.lost.push_back(std::move(*pick.lost));
        }
        if (pick.saved) result.saved.push_back(std::move(*pick.saved));
    }
    std::ranges::stable_sort(result.saved, {}, &SalvagedMember::place);
    std::ranges::stable_sort(result.lost, {}, &SalvagedMember::place);
    result.older = picks.older;
    result.unlisted = picks.unlisted;
    if (!scanned_.headers.empty()) result.header = scanned_.headers.front().header;
    CountPromised(result);
    return result;
}

}  // namespace archive
