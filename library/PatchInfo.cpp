#include <string_view>

#include "patch/Manifest.h"
#include "vaconverter/patch.h"

namespace va {
namespace {

PatchInfo::Side Public(const patch::Side& side) { return {side.members, side.bytes, side.sha256}; }

}  // namespace

std::optional<PatchInfo> ReadPatchInfo(const Archive& patch) {
    const std::optional<Member> member = patch.Find(patch::kManifestName);
    if (!member) return std::nullopt;
    const std::vector<std::byte> bytes = patch.Read(*member, patch::kMostManifestBytes);
    try {
        const patch::Manifest manifest =
            patch::ParseManifest({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        PatchInfo info{
            Public(manifest.old), Public(manifest.fresh), {}, manifest.name, manifest.note};
        if (manifest.archive) info.archive = manifest.archive->sha256;
        return info;
    } catch (const patch::ManifestError& error) {
        throw Error(ErrorCode::Refused,
                    patch.Path().string() + ": its manifest cannot be read: " + error.what(),
                    patch.Path(), member->Name());
    }
}

}  // namespace va
