#include "patch/Report.h"

#include <algorithm>
#include <set>
#include <utility>

#include "archive/Error.h"
#include "archive/Names.h"
#include "delta/Delta.h"
#include "patch/Lists.h"
#include "patch/Manifest.h"

namespace patch {
namespace {

std::string ReadText(const archive::Reader& patch, const archive::Member& member) {
    const std::vector<std::byte> bytes = patch.Read(member);
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

List ReadList(const archive::Reader& patch, const char* name, int digestLines) {
    const auto member = patch.Find(name);
    if (!member) {
        throw archive::Error(archive::ErrorCode::Refused,
                             "this is not a patch: it has no member '" + std::string(name) + "'");
    }
    return ParseList(ReadText(patch, *member), digestLines);
}

// Knows which added members have the content of an old one.
class MovedMembers {
public:
    MovedMembers(const archive::Reader& patch, const List& patched) {
        for (const auto& [name, digests] : patched) oldDigests_.emplace(OldDigest(digests));
        for (const auto& [name, digest] : ReadList(patch, kDeletedList, 1)) {
            oldDigests_.insert(digest);
        }
        const auto member = patch.Find(kManifestName);
        if (!member) return;
        try {
            for (const Manifest::Moved& moved : ParseManifest(ReadText(patch, *member)).moved) {
                names_.insert(archive::FoldName(moved.name));
            }
        } catch (const ManifestError& error) {
            throw archive::Error(archive::ErrorCode::Damaged, error.what(), member->dataOffset,
                                 kManifestName);
        }
    }

    [[nodiscard]] bool Has(std::string_view name, const std::string& digest) const {
        return names_.contains(archive::FoldName(name)) || oldDigests_.contains(digest);
    }

private:
    std::set<std::string> names_;  // folded, from the manifest
    std::set<std::string, std::less<>> oldDigests_;
};

// The size of the content that a diff makes. The first piece has its header.
std::uint64_t NewSize(archive::ContentReader& reader, const archive::Member& member) {
    reader.Begin(member);
    try {
        return delta::InspectDelta(reader.Next()).newSize;
    } catch (const delta::Error& error) {
        throw archive::Error(archive::ErrorCode::Damaged, error.what(), member.dataOffset,
                             member.name);
    }
}

}  // namespace

Report ReportOn(const archive::Reader& patch) {
    const List added = ReadList(patch, kAddedList, 1);
    const List patched = ReadList(patch, kPatchedList, 2);
    const MovedMembers moved(patch, patched);
    archive::ContentReader reader = patch.NewContentReader();
    Report report{.fileBytes = patch.All().fileSize, .overhead = patch.All().fileSize, .items = {}};
    const auto take = [&](std::string_view name, const archive::Member& member, Reason reason,
                          std::uint64_t contentBytes) {
        // Overlapping members of a hostile archive may claim more bytes than the file has.
        const auto bytes = std::min<std::uint64_t>(member.storedSize, report.overhead);
        report.overhead -= bytes;
        report.items.push_back({std::string(name), reason, bytes, contentBytes});
    };
    for (const auto& [name, digest] : added) {
        if (const auto member = patch.Find(name)) {
            take(name, *member, moved.Has(name, digest) ? Reason::Moved : Reason::NewContent,
                 member->size);
        }
    }
    for (const auto& [name, digests] : patched) {
        if (const auto member = patch.Find(name)) {
            const std::uint64_t newSize = NewSize(reader, *member);
            const bool rewritten = IsRewritten(newSize, member->storedSize);
            take(name, *member, rewritten ? Reason::Rewritten : Reason::ChangedInPart, newSize);
        }
    }
    std::ranges::sort(report.items, [](const ReportItem& a, const ReportItem& b) {
        if (a.patchBytes != b.patchBytes) return a.patchBytes > b.patchBytes;
        return archive::CompareNames(a.name, b.name) < 0;
    });
    return report;
}

}  // namespace patch
