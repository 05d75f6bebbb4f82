#include "assetdata/ChunkSequence.h"

#include <algorithm>

#include "kernel/SipHash.h"

namespace Vorn {
namespace {

// Keyed per run: a hostile file must not be able to choose names that collide.
std::uint64_t HashOf(std::string_view name) {
    static const SipHashKey key = RandomSipHashKey();
    return SipHash13(key, name) + (name.data() ? 1 : 0);
}

bool AreSame(std::string_view a, std::string_view b) {
    return a == b && (a.data() == nullptr) == (b.data() == nullptr);
}

std::vector<std::uint32_t> ListRecords(std::span<const std::byte> body, ChunkRange range) {
    std::vector<std::uint32_t> records;
    for (std::uint32_t at = range.begin; HasChunkRecord(at, range.end);) {
        records.push_back(at);
        at = NextChunkRecord(body, at);
    }
    return records;
}

}  // namespace

bool IsNamed(const ChunkRecord& record, const InternedString& name) {
    return AreSame(record.name, NameView(name));
}

ChunkSequence::ChunkSequence(std::span<const std::byte> body, ChunkRange range)
    : body_(body),
      records_(ListRecords(body, range)),
      live_(static_cast<std::uint32_t>(records_.size())) {}

std::uint32_t ChunkSequence::FindRecord(const InternedString& name) const {
    std::call_once(namesIndexed_, &ChunkSequence::IndexNames, this);
    const std::string_view wanted = NameView(name);
    const std::uint32_t position = byName_->First(
        HashOf(wanted), [&](std::uint32_t at) { return AreSame(NameAt(at), wanted); });
    return position == PositionIndex::kNone ? kNoChunkRecord : records_[position];
}

bool ChunkSequence::Holds(std::uint32_t record) const {
    const std::uint32_t position = PositionOf(record);
    return position != PositionIndex::kNone && live_.IsLive(position);
}

void ChunkSequence::Remove(std::uint32_t record) {
    const std::uint32_t position = PositionOf(record);
    live_.Remove(position);
    if (!byName_) return;
    const std::string_view name = NameAt(position);
    byName_->Remove(HashOf(name), position,
                    [&](std::uint32_t at) { return AreSame(NameAt(at), name); });
}

void ChunkSequence::Clear() {
    records_.clear();
    live_ = LivePositions(0);
    if (byName_) byName_ = std::make_unique<PositionIndex>(0);
    added_.Clear();
}

std::uint32_t ChunkSequence::PositionOf(std::uint32_t record) const {
    const auto found = std::ranges::lower_bound(records_, record);
    if (found == records_.end() || *found != record) return PositionIndex::kNone;
    return static_cast<std::uint32_t>(found - records_.begin());
}

void ChunkSequence::IndexNames() const {
    auto index = std::make_unique<PositionIndex>(records_.size());
    for (std::uint32_t position = 0; position < records_.size(); ++position) {
        if (!live_.IsLive(position)) continue;
        const std::string_view name = NameAt(position);
        index->Add(HashOf(name), position,
                   [&](std::uint32_t at) { return AreSame(NameAt(at), name); });
    }
    byName_ = std::move(index);
}

}  // namespace Vorn
