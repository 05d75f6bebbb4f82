#include <algorithm>
#include <set>
#include <string_view>

#include "library/PatchCalls.h"
#include "library/Translate.h"
#include "patch/Manifest.h"
#include "patch/compact/CompactFile.h"
#include "vaconverter/patch.h"

namespace va {
namespace {

using patch::compact::CompactFile;
using patch::compact::Directory;

PatchInfo::Side Public(const patch::Side& side) { return {side.members, side.bytes, side.sha256}; }

PatchInfo Public(const patch::Manifest& manifest) {
    PatchInfo info{Public(manifest.old), Public(manifest.fresh), {}, manifest.name, manifest.note};
    if (manifest.archive) info.archive = manifest.archive->sha256;
    return info;
}

PatchCounts CountsOf(const CompactFile& patch) {
    const Directory& members = patch.Members();
    std::set<patch::compact::Place> movedFrom;
    for (const Directory::Moved& moved : members.moved) movedFrom.insert(moved.from);
    PatchCounts counts{.changed = members.changed.size(),
                       .added = members.added.size() + members.empty.size(),
                       .moved = members.moved.size()};
    for (const auto place : members.removed) counts.removed += movedFrom.contains(place) ? 0 : 1;
    // A member cannot change and go; a patch that was made to mislead may say so.
    const std::uint64_t touched = counts.changed + members.removed.size();
    counts.same = patch.Facts().old.members - std::min(patch.Facts().old.members, touched);
    return counts;
}

}  // namespace

std::vector<PatchStream> StreamsOf(const CompactFile& patch) {
    using Kind = PatchStream::Kind;
    PatchStream contents{.kind = Kind::Contents};
    for (const patch::compact::Section& section : patch.Contents()) {
        contents.bytes += section.bytes;
        contents.members += section.count;
    }
    const auto whole = [](Kind kind, const patch::compact::Section& section) {
        return PatchStream{.kind = kind, .bytes = section.bytes, .unpacked = section.count};
    };
    return {whole(Kind::Head, patch.HeadSection()),
            whole(Kind::Directory, patch.DirectorySection()), contents};
}

std::optional<PatchInfo> ReadPatchInfo(const Archive& patch) {
    const std::optional<Member> member = patch.Find(patch::kManifestName);
    if (!member) return std::nullopt;
    const std::vector<std::byte> bytes = patch.Read(*member, patch::kMostManifestBytes);
    try {
        return Public(
            patch::ParseManifest({reinterpret_cast<const char*>(bytes.data()), bytes.size()}));
    } catch (const patch::ManifestError& error) {
        throw Error(ErrorCode::Refused,
                    patch.Path().string() + ": its manifest cannot be read: " + error.what(),
                    patch.Path(), member->Name());
    }
}

bool IsCompactPatch(const std::filesystem::path& path) {
    return CompactFile::IsMeant(SystemPath(path));
}

CompactPatchInfo ReadCompactPatch(const std::filesystem::path& path,
                                  const ProgressFunction& progress) {
    return OfPatches([&] {
        const CompactFile patch(SystemPath(path), Passed(progress));
        for (const patch::compact::Section& section : patch.Contents()) (void)patch.Read(section);
        return CompactPatchInfo{Public(patch.Facts()), CountsOf(patch), patch.Bytes(),
                                StreamsOf(patch)};
    });
}

}  // namespace va
