#include "archive/Salvage.h"

#include <algorithm>
#include <map>
#include <utility>

#include "archive/SalvagePicks.h"

namespace archive {

Salvage::Salvage(ScannedFile scanned) : scanned_(std::move(scanned)) {
    claims_.reserve(scanned_.chunks.size());
    for (std::size_t i = 0; i < scanned_.chunks.size(); ++i) {
        FoundChunk& chunk = scanned_.chunks[i];
        claims_.push_back({&scanned_.entries, static_cast<MemberTable::Ordinal>(i), chunk.place,
                           chunk.version, chunk.state, std::move(chunk.reason)});
    }
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

bool Salvage::SameNumbers(const Member& a, const Member& b) {
    return a.storedSize == b.storedSize && a.size == b.size && a.crc == b.crc &&
           a.attributes == b.attributes;
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

SalvageResult Salvage::Resolve() const { return SalvagePicks(*this).Resolve(); }

}  // namespace archive
