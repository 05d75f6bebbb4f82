// Manifests: arbitrary text is read or refused. An accepted manifest is written as the same text,
// and the layouts that it describes name each member once. The digest at the end is corrected
// first, so the checks after it are reached.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "patch/Layout.h"
#include "patch/Manifest.h"

namespace {

void Require(bool holds) {
    if (!holds) std::abort();
}

void LayOut(const patch::Manifest& manifest) {
    constexpr std::uint64_t kMostMembers = 10000;
    if (manifest.fresh.members > kMostMembers) return;
    std::vector<patch::LaidMember> members(manifest.fresh.members);
    for (std::uint32_t i = 0; i < members.size(); ++i) {
        members[i].bytes = i * 100;
        members[i].unchanged = i % 2 == 0;
        if (i % 3 != 0) members[i].oldPlace = static_cast<std::uint32_t>(members.size() - i);
    }
    std::vector<bool> seen(members.size());
    for (const std::uint32_t number : patch::OrderOf(manifest.order, members)) {
        Require(!seen.at(number));
        seen[number] = true;
    }
    Require(patch::StorageOf(manifest.storage, members).size() == members.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    text += "end " + patch::ToHex(patch::Sha256Of(text)) + "\n";
    try {
        const patch::Manifest manifest = patch::ParseManifest(text);
        Require(patch::FormatManifest(manifest) == text);
        LayOut(manifest);
    } catch (const patch::ManifestError& error) {
        Require(error.what()[0] != '\0');
    }
    return 0;
}
