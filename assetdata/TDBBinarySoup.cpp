#include "assetdata/TDBBinarySoup.h"

#include <optional>
#include <utility>

#include "assetdata/TDBContainerTag.h"

namespace Vorn {
namespace {

// Containers with at most this many records are walked; indexing them costs more.
constexpr std::uint32_t kMostUnlisted = 16;

InternedString NameOf(std::string_view name) {
    return name.data() ? Intern(name) : InternedString();
}

}  // namespace

OCSChunkRef TDBBinarySoup::FindChild(const InternedString& name) {
    return std::as_const(*this).FindChild(name);
}

OCSChunkRef TDBBinarySoup::FindChild(const InternedString& name) const {
    if (MayWalk()) {
        std::uint32_t at = range_.begin;
        for (std::uint32_t i = 0; i < kMostUnlisted; ++i) {
            if (!HasChunkRecord(at, range_.end)) return {};
            const ChunkRecord record = Body().RecordAt(at);
            if (IsNamed(record, name)) return Body().Decode(record);
            at = record.next;
        }
    }
    const ChunkSequence& sequence = Sequence();
    const std::uint32_t found = sequence.FindRecord(name);
    if (found != kNoChunkRecord) return Body().Decode(Body().RecordAt(found));
    const ChildList::Pair* added = sequence.Added().Find(name);
    return added ? Body().FromKept(added->child) : OCSChunkRef();
}

std::uint32_t TDBBinarySoup::ChildCount() const {
    if (MayWalk()) {
        std::uint32_t at = range_.begin;
        for (std::uint32_t i = 0; i <= kMostUnlisted; ++i) {
            if (!HasChunkRecord(at, range_.end)) return i;
            at = NextChunkRecord(Body().Bytes(), at);
        }
    }
    const ChunkSequence& sequence = Sequence();
    return sequence.RecordCount() + sequence.Added().Count();
}

InternedString TDBBinarySoup::ChildName(std::uint32_t index) const {
    const std::uint32_t record = RecordAt(index);
    if (record != kNoChunkRecord) return NameOf(Body().RecordAt(record).name);
    const ChildList::Pair* added = AddedAt(index);
    return added ? added->name : InternedString();
}

NamedChild TDBBinarySoup::ChildAt(std::uint32_t index) const {
    const std::uint32_t offset = RecordAt(index);
    if (offset != kNoChunkRecord) {
        const ChunkRecord record = Body().RecordAt(offset);
        return {record.name, Body().Decode(record)};
    }
    const ChildList::Pair* added = AddedAt(index);
    return added ? NamedChild{NameView(added->name), Body().FromKept(added->child)} : NamedChild{};
}

void TDBBinarySoup::Clear() { ChangedSequence().Clear(); }

void TDBBinarySoup::SwapChildren(const OCSChunkRef& a, const OCSChunkRef& b) {
    std::uint32_t recordA = RecordOf(a);
    std::uint32_t recordB = RecordOf(b);
    OCSChunkRef keptA = Body().ToKept(a);
    OCSChunkRef keptB = Body().ToKept(b);
    ChildList& added = ChangedSequence().Added();
    if (recordB < recordA) {
        std::swap(recordA, recordB);
        std::swap(keptA, keptB);
    }
    // From here on, if one of the two is a record, it is the first.
    if (keptA == keptB) return;
    if (recordA == kNoChunkRecord) {
        (void)added.Swap(keptA, keptB);
    } else if (recordB != kNoChunkRecord) {
        ReplaceRecord(recordA, keptB);
        ReplaceRecord(recordB, keptA);
    } else if (added.Replace(keptB.Get(), keptA)) {
        ReplaceRecord(recordA, keptB);
    }
}

void TDBBinarySoup::AddChild(const InternedString& name, const OCSChunkRef& child) {
    if (child) ChangedSequence().Added().Add(name, Body().ToKept(child));
}

void TDBBinarySoup::RemoveChild(const OCSChunkRef& child) {
    if (!child) return;
    const std::uint32_t record = RecordOf(child);
    ChunkSequence& sequence = ChangedSequence();
    if (record != kNoChunkRecord) {
        sequence.Remove(record);
    } else {
        (void)sequence.Added().Remove(Body().ToKept(child).Get());
    }
}

OCSChunkRef TDBBinarySoup::CreateChunk(std::uint32_t type) { return NewTag(type); }

bool TDBBinarySoup::MayWalk() const {
    return !Body().IsChanged() && !sequence_.load(std::memory_order_relaxed);
}

std::uint32_t TDBBinarySoup::RecordAt(std::uint32_t index) const {
    // Callers mostly ask for one index after another, so the walk continues where the last one
    // ended. Any stored place is a right one: threads that race for it only lose time.
    if (MayWalk()) {
        Place place = lastPlace_.load(std::memory_order_relaxed);
        if (index < place.index) place = {0, range_.begin};
        if (index - place.index <= kMostUnlisted) return WalkTo(index, place);
    }
    const ChunkSequence& sequence = Sequence();
    return index < sequence.RecordCount() ? sequence.RecordAt(index) : kNoChunkRecord;
}

std::uint32_t TDBBinarySoup::WalkTo(std::uint32_t index, Place from) const {
    for (; HasChunkRecord(from.offset, range_.end); ++from.index) {
        if (from.index == index) {
            lastPlace_.store(from, std::memory_order_relaxed);
            return from.offset;
        }
        from.offset = NextChunkRecord(Body().Bytes(), from.offset);
    }
    return kNoChunkRecord;
}

const ChildList::Pair* TDBBinarySoup::AddedAt(std::uint32_t index) const {
    if (MayWalk()) return nullptr;
    const ChunkSequence& sequence = Sequence();
    return sequence.Added().At(index - sequence.RecordCount());
}

ChunkSequence& TDBBinarySoup::Sequence() const {
    ChunkSequence* sequence = sequence_.load(std::memory_order_acquire);
    // Threads that meet here get the same sequence from the body.
    if (!sequence) {
        sequence = &Body().SequenceOf(Record(), range_);
        sequence_.store(sequence, std::memory_order_release);
    }
    return *sequence;
}

ChunkSequence& TDBBinarySoup::ChangedSequence() {
    Body().SetChanged();
    return Sequence();
}

std::uint32_t TDBBinarySoup::RecordOf(const OCSChunkRef& child) const {
    const auto* tag = dynamic_cast<const ChunkTag*>(child.Get());
    if (!tag || &tag->Body() != &Body() || !Sequence().Holds(tag->Record())) return kNoChunkRecord;
    return tag->Record();
}

void TDBBinarySoup::ReplaceRecord(std::uint32_t record, const OCSChunkRef& by) {
    const InternedString name = NameOf(Body().RecordAt(record).name);
    Sequence().Remove(record);
    Sequence().Added().Add(name, by);
}

}  // namespace Vorn
