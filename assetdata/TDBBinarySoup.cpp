#include "assetdata/TDBBinarySoup.h"

#include <optional>
#include <utility>

#include "assetdata/TDBContainerTag.h"

namespace Vorn {
namespace {

// Containers with no more records than this are walked; it costs less than remembering them.
constexpr std::uint32_t kMostUnlisted = 16;

InternedString NameOf(std::string_view name) {
    return name.data() ? Intern(name) : InternedString();
}

}  // namespace

OCSChunkRef TDBBinarySoup::FindChild(const InternedString& name) {
    return std::as_const(*this).FindChild(name);
}

OCSChunkRef TDBBinarySoup::FindChild(const InternedString& name) const {
    if (!Body().IsChanged()) {
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
    if (!Body().IsChanged()) {
        std::uint32_t at = range_.begin;
        for (std::uint32_t i = 0; i <= kMostUnlisted; ++i) {
            if (!HasChunkRecord(at, range_.end)) return i;
            at = Body().RecordAt(at).next;
        }
    }
    const ChunkSequence& sequence = Sequence();
    return sequence.RecordCount() + sequence.Added().Count();
}

InternedString TDBBinarySoup::ChildName(std::uint32_t index) const {
    return NameOf(ChildAt(index).name);
}

NamedChild TDBBinarySoup::ChildAt(std::uint32_t index) const {
    if (!Body().IsChanged() && index < kMostUnlisted) {
        std::uint32_t at = range_.begin;
        for (; HasChunkRecord(at, range_.end); --index) {
            const ChunkRecord record = Body().RecordAt(at);
            if (index == 0) return {record.name, Body().Decode(record)};
            at = record.next;
        }
        return {};
    }
    const ChunkSequence& sequence = Sequence();
    if (index < sequence.RecordCount()) {
        const ChunkRecord record = Body().RecordAt(sequence.RecordAt(index));
        return {record.name, Body().Decode(record)};
    }
    const ChildList::Pair* added = sequence.Added().At(index - sequence.RecordCount());
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
    // From here on a record comes first, if one of them is one.
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

ChunkSequence& TDBBinarySoup::Sequence() const {
    ChunkSequence* sequence = sequence_.load(std::memory_order_acquire);
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
