#include "assetdata/ChildList.h"

#include <algorithm>
#include <utility>

namespace Vorn {
namespace {

constexpr std::size_t kMostUnindexed = 16;  // pairs that are searched one by one

// By address: interned names and children are equal only if they are the same object.

std::uint64_t HashOf(const void* address) {
    std::uint64_t hash = reinterpret_cast<std::uintptr_t>(address) * 0x9E3779B97F4A7C15;
    return hash ^ hash >> 29;
}

std::uint64_t HashOf(const InternedString& name) { return HashOf(name.Entry()); }

}  // namespace

std::uint32_t ChildList::Count() const {
    return editing_ ? editing_->live.Count() : static_cast<std::uint32_t>(pairs_.size());
}

const ChildList::Pair* ChildList::At(std::uint32_t index) const {
    if (index >= Count()) return nullptr;
    return &pairs_[editing_ ? editing_->live.Select(index) : index];
}

const ChildList::Pair* ChildList::Find(const InternedString& name) const {
    if (IsShort()) {
        const auto found = std::ranges::find(pairs_, name, &Pair::name);
        return found == pairs_.end() ? nullptr : &*found;
    }
    const std::uint32_t position =
        ByName().First(HashOf(name), [&](std::uint32_t at) { return pairs_[at].name == name; });
    return position == PositionIndex::kNone ? nullptr : &pairs_[position];
}

bool ChildList::Holds(const OCSChunk* child) { return PositionOf(child) != PositionIndex::kNone; }

void ChildList::Add(const InternedString& name, const OCSChunkRef& child) {
    const auto position = static_cast<std::uint32_t>(pairs_.size());
    pairs_.push_back({name, child});
    if (PositionIndex* byName = byName_) {
        byName->Add(HashOf(name), position,
                    [&](std::uint32_t at) { return pairs_[at].name == name; });
    }
    if (editing_) {
        editing_->live.Append();
        editing_->byChild.Add(HashOf(child.Get()), position,
                              [&](std::uint32_t at) { return pairs_[at].child == child; });
    }
}

bool ChildList::Remove(const OCSChunk* child) {
    const std::uint32_t position = PositionOf(child);
    if (position == PositionIndex::kNone) return false;
    if (!editing_) {
        pairs_.erase(pairs_.begin() + position);
        return true;
    }
    RemoveIndexed(position);
    // At half, so that a removal costs constant time on average.
    if (editing_->live.Count() < pairs_.size() / 2) Compact();
    return true;
}

bool ChildList::Replace(const OCSChunk* child, const OCSChunkRef& by) {
    const std::uint32_t position = PositionOf(child);
    if (position == PositionIndex::kNone) return false;
    SetChild(position, by);
    return true;
}

bool ChildList::Swap(const OCSChunkRef& a, const OCSChunkRef& b) {
    const std::uint32_t ofA = PositionOf(a.Get());
    const std::uint32_t ofB = PositionOf(b.Get());
    if (ofA == PositionIndex::kNone || ofB == PositionIndex::kNone || ofA == ofB) return false;
    // `a` and `b` may be the list's own references, so the swap works on copies.
    const OCSChunkRef keptA(a.Get());
    const OCSChunkRef keptB(b.Get());
    SetChild(ofA, keptB);
    SetChild(ofB, keptA);
    return true;
}

void ChildList::Clear() {
    DropIndexes();
    pairs_.clear();
}

bool ChildList::IsShort() const { return pairs_.size() <= kMostUnindexed && !editing_; }

const PositionIndex& ChildList::ByName() const {
    if (const PositionIndex* ready = byName_.load(std::memory_order_acquire)) return *ready;
    auto index = std::make_unique<PositionIndex>(pairs_.size());
    for (std::uint32_t position = 0; position < pairs_.size(); ++position) {
        if (editing_ && !editing_->live.IsLive(position)) continue;
        const InternedString& name = pairs_[position].name;
        index->Add(HashOf(name), position,
                   [&](std::uint32_t at) { return pairs_[at].name == name; });
    }
    // Several threads may each build an index here; the first to finish is kept.
    PositionIndex* expected = nullptr;
    if (byName_.compare_exchange_strong(expected, index.get(), std::memory_order_acq_rel)) {
        return *index.release();
    }
    return *expected;
}

void ChildList::DropIndexes() {
    const std::unique_ptr<PositionIndex> byName(byName_.exchange(nullptr));
    editing_.reset();
}

ChildList::Editing& ChildList::BeginEditing() {
    if (editing_) return *editing_;
    editing_ = std::make_unique<Editing>(
        Editing{.live = LivePositions(static_cast<std::uint32_t>(pairs_.size())),
                .byChild = PositionIndex(pairs_.size())});
    for (std::uint32_t position = 0; position < pairs_.size(); ++position) {
        const OCSChunkRef& child = pairs_[position].child;
        editing_->byChild.Add(HashOf(child.Get()), position,
                              [&](std::uint32_t at) { return pairs_[at].child == child; });
    }
    return *editing_;
}

std::uint32_t ChildList::PositionOf(const OCSChunk* child) {
    const auto holds = [&](std::uint32_t at) { return pairs_[at].child.Get() == child; };
    if (!IsShort()) return BeginEditing().byChild.First(HashOf(child), holds);
    for (std::uint32_t position = 0; position < pairs_.size(); ++position) {
        if (holds(position)) return position;
    }
    return PositionIndex::kNone;
}

void ChildList::SetChild(std::uint32_t position, const OCSChunkRef& child) {
    const OCSChunkRef old = pairs_[position].child;
    if (editing_) {
        // The pair changes last: the index compares with the first of equal children, which may be
        // this very pair.
        editing_->byChild.Remove(HashOf(old.Get()), position,
                                 [&](std::uint32_t at) { return pairs_[at].child == old; });
        editing_->byChild.Add(HashOf(child.Get()), position,
                              [&](std::uint32_t at) { return pairs_[at].child == child; });
    }
    pairs_[position].child = child;
}

void ChildList::RemoveIndexed(std::uint32_t position) {
    const Pair pair = pairs_[position];
    editing_->live.Remove(position);
    editing_->byChild.Remove(HashOf(pair.child.Get()), position,
                             [&](std::uint32_t at) { return pairs_[at].child == pair.child; });
    if (PositionIndex* byName = byName_) {
        byName->Remove(HashOf(pair.name), position,
                       [&](std::uint32_t at) { return pairs_[at].name == pair.name; });
    }
    pairs_[position] = {};
}

void ChildList::Compact() {
    std::uint32_t kept = 0;
    for (std::uint32_t position = 0; position < pairs_.size(); ++position) {
        if (!editing_->live.IsLive(position)) continue;
        if (kept != position) pairs_[kept] = std::move(pairs_[position]);
        ++kept;
    }
    pairs_.resize(kept);
    DropIndexes();
}

}  // namespace Vorn
