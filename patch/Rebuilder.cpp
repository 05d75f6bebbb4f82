#include "patch/Rebuilder.h"

#include <algorithm>

#include "archive/Stream.h"
#include "patch/Contents.h"
#include "patch/Error.h"
#include "patch/Layout.h"

namespace patch {
namespace {

using From = Part::From;
using Store = Part::Store;

archive::PackedMember PackAs(std::span<const std::byte> content, Store store) {
    archive::PackedMember packed;
    bool compress = false;
    switch (content.empty() ? Store::Plain : store) {
        case Store::AsConverter:
            // Plain content that begins like a stream would be read as one.
            compress = content.size() > archive::kLargestPlain || archive::IsStreamMark(content);
            break;
        case Store::CompressedIfItSaves:
        case Store::PlainIfItSaves:
            // Whether it saves is known only when it is done; what was packed is then used.
            Pack(content, true, packed);
            compress = SavesEnough(content.size(), packed.data.size()) ==
                       (store == Store::CompressedIfItSaves);
            if (compress) return packed;
            break;
        default:
            compress = store == Store::Compressed && !content.empty();
    }
    Pack(content, compress, packed);
    return packed;
}

// The manifest bounds what a diff may make; a patch without one says no size.
std::uint64_t SizeLimit(const PatchFile& patch, const Part& part) {
    return patch.GetManifest() ? part.change->newBytes : delta::kMaxSize;
}

}  // namespace

Rebuilder::Rebuilder(const OldSide& old, const PatchFile& patch)
    : old_(old),
      patch_(patch),
      oldReader_(old.Members().NewReader()),
      patchReader_(patch.Members().NewReader()) {}

archive::PackedMember Rebuilder::Make(const Part& part) {
    switch (part.from) {
        case From::Old:
            return PackAs(ReadOld(part), part.store);
        case From::Patch:
            return PackAs(ReadHeld(part), part.store);
        case From::Nothing:
            return PackAs({}, part.store);
        case From::Diff:
            break;
    }
    const std::vector<std::byte> oldContent = ReadOld(part);
    const std::vector<std::byte> diff = ReadHeld(part);
    const delta::Bytes content = ApplyDiff(part, oldContent, diff);
    // A sound diff gives what it was made for; only the digest says that this is what is listed.
    if (DigestOf(patch_.Digests(), content) != part.change->newDigest) {
        throw Error(ErrorCode::Refused, patch_.Path(),
                    "its diff does not give the content that is listed; ask the maker for a "
                    "patch that 'va diff' has proved",
                    part.name);
    }
    return PackAs(content, part.store);
}

std::vector<std::byte> Rebuilder::ReadOld(const Part& part) {
    return About(old_.Path(), [&] { return ReadContent(*oldReader_, old_.Members(), part.old); });
}

std::vector<std::byte> Rebuilder::ReadHeld(const Part& part) {
    return About(patch_.Path(),
                 [&] { return ReadContent(*patchReader_, patch_.Members(), part.held); });
}

delta::Bytes Rebuilder::ApplyDiff(const Part& part, delta::Bytes oldContent, delta::Bytes diff) {
    try {
        return delta::ApplyDelta(oldContent, diff, workspace_, SizeLimit(patch_, part));
    } catch (const delta::Error& error) {
        if (error.Kind() == delta::ErrorKind::OutOfMemory) throw std::bad_alloc();
        // Here the old archive is to blame, everywhere else the patch: the message names the file
        // that has to be replaced.
        if (error.Kind() == delta::ErrorKind::WrongOld) {
            throw Error(ErrorCode::Refused, old_.Path(),
                        "it is not the content that the patch was made from", part.name);
        }
        throw Error(ErrorCode::Refused, patch_.Path(), error.what(), part.name);
    }
}

std::uint64_t MemoryToRebuild(const Part& part, const OldSide& old, const PatchFile& patch) {
    if (part.store == Store::Copied || part.from == From::Nothing) return 0;
    // The content, and what is stored of it.
    if (part.from == From::Patch) return 2 * patch.Members()[part.held].size;
    const std::uint64_t oldSize = old.Members()[part.old].size;
    if (part.from == From::Old) return 2 * oldSize;
    // Only the diff's own header tells what its method takes.
    const auto diff = About(patch.Path(), [&] {
        return ReadContent(*patch.Members().NewReader(), patch.Members(), part.held);
    });
    try {
        const delta::DeltaInfo info = delta::InspectDelta(diff);
        return oldSize + diff.size() + info.memory + info.newSize;
    } catch (const delta::Error& error) {
        throw Error(ErrorCode::Refused, patch.Path(), error.what(), part.name);
    }
}

}  // namespace patch
