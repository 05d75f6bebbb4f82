#include "patch/MemberMaker.h"

#include <algorithm>
#include <cstring>

#include "archive/Crc32.h"
#include "archive/Stream.h"
#include "archive/Window.h"
#include "patch/Layout.h"
#include "patch/MD5.h"

namespace patch {
namespace {

using Bytes = std::span<const std::byte>;

// Of buffers and tables that a thread keeps for the next member.
constexpr std::uint64_t kMostKept = 32U << 20;

// A workspace applies with that much beside the result.
constexpr std::uint64_t kMostToApply = 70U << 20;
constexpr std::uint64_t kSmallMember = 1U << 20;
constexpr std::uint64_t kMostPacking = 1000;
constexpr std::size_t kWindow = 65536;

bool SameBytes(Bytes a, Bytes b) {
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

void Read(const Input& side, archive::TreeReader& reader, Number number,
          std::vector<std::byte>& content) {
    About(side.path, [&] {
        content.clear();
        reader.Begin(number);
        const archive::TreeMember member = side.tree[number];
        // A stream's size is only a claim; no content is known that packs so well.
        if (member.size / kMostPacking <= member.storedSize) {
            content.reserve(static_cast<std::size_t>(member.size));
        }
        for (auto piece = reader.Next(); !piece.empty(); piece = reader.Next()) {
            content.insert(content.end(), piece.begin(), piece.end());
        }
    });
}

std::uint64_t ContentsOf(const Input& old, const Input& fresh, const Carried& member) {
    const std::uint64_t fromOld = member.old ? old.tree[*member.old].size : 0;
    return fromOld + fresh.tree[member.fresh].size;
}

// Contents, what Pack makes of the payload, and what is rebuilt for the proof.
std::uint64_t MemoryBesideDiff(const Input& old, const Input& fresh, const Carried& member,
                               const MakerLimits& limits) {
    const std::uint64_t size = fresh.tree[member.fresh].size;
    const std::uint64_t packed = size + size / 1024 + delta::kMostOverhead;
    std::uint64_t proof = 0;
    if (member.old && limits.prove) proof = size + (size < kSmallMember ? 4 * size : kMostToApply);
    return ContentsOf(old, fresh, member) + packed + proof;
}

delta::Options OptionsFor(const Input& old, const Input& fresh, const Carried& member,
                          const MakerLimits& limits) {
    if (limits.memory == delta::kNoLimit) return {};
    return {.memoryLimit = limits.memory - MemoryBesideDiff(old, fresh, member, limits)};
}

}  // namespace

MemberMaker::MemberMaker(const Input& old, const Input& fresh, const MakerLimits& limits)
    : old_(old),
      fresh_(fresh),
      limits_(limits),
      oldReader_(old.tree.NewReader()),
      freshReader_(fresh.tree.NewReader()) {}

MadeMember MemberMaker::Make(const Carried& member) try {
    MadeMember made;
    Read(fresh_, *freshReader_, member.fresh, newContent_);
    if (!limits_.diffs) return Learn(member);
    made.newMd5 = DigestOf(newContent_);
    if (limits_.digests) made.newDigest = Sha256Of(newContent_);
    Bytes payload = newContent_;
    if (member.old) {
        Read(old_, *oldReader_, *member.old, oldContent_);
        made.oldMd5 = DigestOf(oldContent_);
        if (limits_.digests) made.oldDigest = Sha256Of(oldContent_);
        payload = delta::MakeDelta(oldContent_, newContent_, workspace_,
                                   OptionsFor(old_, fresh_, member, limits_));
        if (limits_.prove) Prove(member, payload);
    }
    // Short content that begins like a compressed stream would be read back as one.
    const bool compress = payload.size() > kLargestPlainMember || archive::IsStreamMark(payload);
    archive::Pack(payload, compress, made.packed);
    if (limits_.prove) ProvePacked(member, payload, made.packed);
    made.packed.data.shrink_to_fit();
    if (limits_.remake) {
        const bool isStream = !member.old && compress;
        made.remade = RemakeContent(member.fresh, isStream ? &made.packed : nullptr);
    }
    for (std::vector<std::byte>* content : {&oldContent_, &newContent_}) {
        if (content->capacity() > kMostKept) *content = {};
    }
    if (workspace_.MemoryHeld() > kMostKept) workspace_.Release();
    return made;
} catch (const delta::Error& error) {
    const bool noMemory = error.Kind() == delta::ErrorKind::OutOfMemory;
    throw Error(noMemory ? ErrorCode::NoMemory : ErrorCode::Refused, fresh_.path, error.what(),
                fresh_.tree[member.fresh].name);
}

MadeMember MemberMaker::Learn(const Carried& member) {
    MadeMember made;
    made.newDigest = Sha256Of(newContent_);
    if (member.old) {
        Read(old_, *oldReader_, *member.old, oldContent_);
        made.oldDigest = Sha256Of(oldContent_);
    }
    if (limits_.remake) made.remade = RemakeContent(member.fresh, nullptr);
    return made;
}

Remade MemberMaker::Remake(Number fresh) {
    Read(fresh_, *freshReader_, fresh, newContent_);
    return RemakeContent(fresh, nullptr);
}

// `stream` is what compressing the content gives, if that is known.
Remade MemberMaker::RemakeContent(Number fresh, const archive::PackedMember* stream) const {
    const archive::Member member = (*fresh_.reader)[fresh];
    const bool compressed = fresh_.tree[fresh].compressed;
    // A recorded check sum has been compared by the reader.
    archive::Crc32 sum;
    if (member.crc == 0) sum.Update(newContent_);
    const bool sumHolds = member.crc != 0 || sum.Value() == 0;
    Remade remade;
    // The stored bytes of a plain member are its content. It can also be a stream that its entry
    // does not call one: then the sizes differ.
    remade.same =
        sumHolds && (compressed ? StoresStream(member, stream) : member.storedSize == member.size);
    if (limits_.saves && !compressed && !newContent_.empty()) {
        remade.saves = SavesEnough(newContent_.size(), StreamSize(stream));
    }
    return remade;
}

// Returns whether the new archive stores the stream that compressing the content gives.
bool MemberMaker::StoresStream(const archive::Member& member,
                               const archive::PackedMember* stream) const {
    archive::Window window(fresh_.reader->File(), kWindow);
    std::uint64_t size = 0;
    bool same = true;
    const auto compare = [&](Bytes piece) {
        while (same && !piece.empty()) {
            const Bytes stored = About(
                fresh_.path, [&] { return window.Some(member.dataOffset + size, piece.size()); });
            same = !stored.empty() && SameBytes(stored, piece.first(stored.size()));
            piece = piece.subspan(stored.size());
            size += stored.size();
        }
        return same;
    };
    if (stream) {
        (void)compare(stream->data);
    } else {
        archive::EncodeStream(newContent_, compare);
    }
    return same && size == member.storedSize;
}

std::uint64_t MemberMaker::StreamSize(const archive::PackedMember* stream) const {
    if (stream) return stream->data.size();
    std::uint64_t size = 0;
    archive::EncodeStream(newContent_, [&size](Bytes piece) {
        size += piece.size();
        return true;
    });
    return size;
}

void MemberMaker::Prove(const Carried& member, Bytes diff) {
    const Bytes rebuilt = delta::ApplyDelta(oldContent_, diff, workspace_, newContent_.size());
    if (SameBytes(rebuilt, newContent_)) return;
    throw Error(ErrorCode::Refused, fresh_.path,
                "its diff does not give it back; the memory of this machine may be faulty",
                fresh_.tree[member.fresh].name);
}

void MemberMaker::ProvePacked(const Carried& member, Bytes payload,
                              const archive::PackedMember& packed) const {
    if (archive::GivesBack(packed, payload)) return;
    throw Error(ErrorCode::Refused, fresh_.path,
                "what is stored of it does not give it back; the memory of this machine may be "
                "faulty",
                fresh_.tree[member.fresh].name);
}

std::uint64_t MemberMaker::LeastMemory(const Input& old, const Input& fresh, const Carried& member,
                                       const MakerLimits& limits) {
    const std::uint64_t diff =
        member.old ? fresh.tree[member.fresh].size + delta::kMostOverhead : std::uint64_t{0};
    return MemoryBesideDiff(old, fresh, member, limits) + diff;
}

std::uint64_t MemberMaker::MemoryToMake(const Input& old, const Input& fresh, const Carried& member,
                                        const MakerLimits& limits) {
    const std::uint64_t beside = MemoryBesideDiff(old, fresh, member, limits);
    if (!member.old) return beside;
    return beside + delta::MemoryToMake(old.tree[*member.old].size, fresh.tree[member.fresh].size,
                                        OptionsFor(old, fresh, member, limits));
}

}  // namespace patch
