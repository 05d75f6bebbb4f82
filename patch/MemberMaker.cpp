#include "patch/MemberMaker.h"

#include <algorithm>
#include <cstring>

#include "archive/Crc32.h"
#include "archive/Stream.h"
#include "archive/Window.h"
#include "patch/Layout.h"
#include "patch/MD5.h"
#include "patch/MemberMemory.h"

namespace patch {
namespace {

using Bytes = std::span<const std::byte>;

// Of buffers and tables that a thread keeps for the next member.
constexpr std::uint64_t kMostKept = 32U << 20;

// A stream whose size is more than that many times its stored bytes is damaged, or made to make us
// reserve memory: no content is known that packs so well.
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
        // A stream's size is only a claim.
        if (member.size / kMostPacking <= member.storedSize) {
            content.reserve(static_cast<std::size_t>(member.size));
        }
        for (auto piece = reader.Next(); !piece.empty(); piece = reader.Next()) {
            content.insert(content.end(), piece.begin(), piece.end());
        }
    });
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
                                   MemberMemory(old_, fresh_, limits_).DeltaOptions(member));
        if (limits_.prove) Prove(member, payload);
    }
    // Short content that begins like a compressed stream would be read back as one.
    const bool compress = payload.size() > archive::kLargestPlain || archive::IsStreamMark(payload);
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

// Two questions about the content that was read last. Each needs the stream that compressing it
// gives, which may be known as `stream`, and no member asks both: one is about compressed members,
// the other about plain ones.
Remade MemberMaker::RemakeContent(Number fresh, const archive::PackedMember* stream) const {
    const archive::Member member = (*fresh_.reader)[fresh];
    const bool compressed = fresh_.tree[fresh].compressed;
    // The result records a check sum for each member. The reader has compared one that the new
    // archive records; one of 0 is the same only if the content has it.
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

// Returns whether the new archive stores the stream that compressing the content gives. Stops at
// the first difference: packing the rest would be in vain.
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

}  // namespace patch
