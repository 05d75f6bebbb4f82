#include <set>
#include <string>
#include <utility>

#include "delta/Delta.h"
#include "library/ArchiveAccess.h"
#include "library/PatchCalls.h"
#include "library/ResultPlace.h"
#include "library/Translate.h"
#include "patch/Maker.h"
#include "vaconverter/patch.h"

namespace va {
namespace {

patch::Input InputOf(const Archive& archive) {
    return {SystemPath(archive.Path()), ArchiveAccess::TreeOf(archive),
            ArchiveAccess::ReaderOf(archive)};
}

// Without its index members may be missing, which a patch would remove.
void RefuseWithoutIndex(const Archive& archive) {
    const IndexState index = archive.Info().index;
    if (index == IndexState::Missing || index == IndexState::Damaged) {
        throw Error(ErrorCode::Refused,
                    archive.Path().string() +
                        ": its index is missing or damaged, so members may be missing",
                    archive.Path());
    }
}

// "Town-1.1.va": what the new side is called, as an archive.
std::string NameOf(const Archive& fresh) {
    std::filesystem::path path = fresh.Path().lexically_normal();
    if (!path.has_filename()) path = path.parent_path();
    std::string name = path.filename().string();
    // A folder such as "." or "/" has no name to give.
    if (name.empty() || name == "." || name == "..") return {};
    return fresh.Info().isFolder ? name + ".va" : name;
}

MemberChange::Kind KindOf(patch::MemberChange::Kind kind) {
    switch (kind) {
        case patch::MemberChange::Kind::Added:
            return MemberChange::Kind::Added;
        case patch::MemberChange::Kind::Moved:
            return MemberChange::Kind::Moved;
        case patch::MemberChange::Kind::Removed:
            return MemberChange::Kind::Removed;
        case patch::MemberChange::Kind::Empty:
            return MemberChange::Kind::Empty;
        default:
            return MemberChange::Kind::Changed;
    }
}

PatchCounts CountsOf(const patch::MakeResult& made) {
    using enum patch::MemberChange::Kind;
    PatchCounts counts{.same = made.same};
    std::set<std::string_view> sources;
    for (const patch::MemberChange& change : made.changes) {
        counts.changed += change.kind == Changed ? 1 : 0;
        counts.added += change.kind == Added || change.kind == Empty ? 1 : 0;
        counts.moved += change.kind == Moved ? 1 : 0;
        if (change.kind == Moved) sources.insert(change.oldName);
    }
    for (const patch::MemberChange& change : made.changes) {
        counts.removed += change.kind == Removed && !sources.contains(change.name) ? 1 : 0;
    }
    return counts;
}

std::vector<std::byte> Copied(std::span<const std::byte> bytes) {
    return {bytes.begin(), bytes.end()};
}

// Calls `work`; what the room of diffs throws becomes Error.
template <typename Work>
auto OfDeltas(Work work) -> decltype(work()) {
    try {
        return work();
    } catch (const delta::Error& error) {
        const bool noMemory = error.Kind() == delta::ErrorKind::OutOfMemory;
        throw Error(noMemory ? ErrorCode::NoMemory : ErrorCode::Refused, error.what());
    }
}

}  // namespace

MakePatchResult MakePatch(const Archive& old, const Archive& fresh, const MakePatchOptions& options,
                          const ProgressFunction& progress) {
    RefuseWithoutIndex(old);
    RefuseWithoutIndex(fresh);
    MakePatchResult result;
    result.replacesLink =
        JudgeResultPlace(options.result, options.replace, {old.Path(), fresh.Path()});
    const patch::MakeOptions toMake{.result = SystemPath(options.result),
                                    .replace = options.replace,
                                    .dryRun = options.dryRun,
                                    .compact = options.compact,
                                    .manifest = !options.plain,
                                    .allowLossy = options.allowLossy,
                                    .prove = options.verify,
                                    .name = options.name.empty() ? NameOf(fresh) : options.name,
                                    .note = options.note,
                                    .threads = options.threads,
                                    .memory = options.memoryLimit};
    patch::MakeResult made = OfPatches(
        [&] { return patch::MakePatch(InputOf(old), InputOf(fresh), toMake, Passed(progress)); });
    if (options.dryRun) JudgeSpace(options.result, made.patchBytes);
    result.abandoned.assign(made.abandoned.begin(), made.abandoned.end());
    result.counts = CountsOf(made);
    result.patchSize = made.patchBytes;
    result.newMembers = fresh.Members().size();
    if (!options.plain) result.newContent = made.fresh.sha256;
    if (made.archive) result.newArchive = made.archive->sha256;
    for (const std::string& name : made.leftOut) result.leftOut.push_back(PublicName(name));
    for (const patch::MemberChange& change : made.changes) {
        result.changes.push_back({KindOf(change.kind), PublicName(change.name),
                                  PublicName(change.oldName), change.oldBytes, change.newBytes,
                                  change.patchBytes});
    }
    return result;
}

std::vector<std::byte> MakeDelta(std::span<const std::byte> old, std::span<const std::byte> fresh) {
    return OfDeltas([&] {
        delta::Workspace workspace;
        return Copied(delta::MakeDelta(old, fresh, workspace));
    });
}

std::vector<std::byte> ApplyDelta(std::span<const std::byte> old, std::span<const std::byte> diff,
                                  std::uint64_t limit) {
    return OfDeltas([&] {
        delta::Workspace workspace;
        return Copied(delta::ApplyDelta(old, diff, workspace, limit));
    });
}

}  // namespace va
