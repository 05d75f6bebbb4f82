#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

#include "archive/NewArchive.h"
#include "archive/StreamSize.h"
#include "archive/Window.h"
#include "library/ArchiveAccess.h"
#include "library/JudgeResult.h"
#include "library/ResultPlace.h"
#include "library/SideReader.h"
#include "library/Translate.h"
#include "library/Workers.h"
#include "vaconverter/overlay.h"

namespace va {
namespace {

// Copies members of one side into a new archive: those of an archive as they are stored.
class SideCopier {
public:
    explicit SideCopier(const Archive& side) : side_(side), reader_(ArchiveAccess::ReaderOf(side)) {
        constexpr std::size_t kCopyWindow = 1 << 20;
        if (reader_) window_.emplace(reader_->File(), kCopyWindow);
    }

    void Copy(const Member& member, archive::Appender& to, WorkProgress& work) {
        if (reader_) {
            CopyStored(member, to, work);
        } else {
            CopyContent(member, to, work);
        }
    }

private:
    void CopyStored(const Member& member, archive::Appender& to, WorkProgress& work) {
        const archive::Member source = (*reader_)[member.Index()];
        to.BeginStored({.name = source.name}, source);
        for (std::uint64_t done = 0; done < source.storedSize;) {
            const auto piece = Translated(side_.Path(), [&] {
                return window_->Some(source.dataOffset + done, source.storedSize - done);
            });
            if (piece.empty()) {
                throw Error(ErrorCode::Refused,
                            side_.Path().string() + ": " + member.Name() +
                                " does not lie in the file; run 'va test' to see all problems",
                            side_.Path(), member.Name());
            }
            to.Write(piece);
            done += piece.size();
            work.Add(piece.size());
        }
        to.Finish();
    }

    void CopyContent(const Member& member, archive::Appender& to, WorkProgress& work) {
        const archive::Tree& tree = ArchiveAccess::TreeOf(side_);
        const bool compress =
            Translated(side_.Path(), [&] { return archive::IsWorthAStream(tree, member.Index()); });
        SideReader content(side_);
        content.Begin(member);
        to.Begin({.name = member.StoredName(), .compress = compress});
        for (auto piece = content.Next(); !piece.empty(); piece = content.Next()) {
            to.Write(piece);
            work.Add(piece.size());
        }
        to.Finish();
    }

    const Archive& side_;
    const archive::Reader* reader_;  // null for a folder
    std::optional<archive::Window> window_;
};

struct Versions {
    std::uint32_t build = 0;
    std::uint32_t product = 0;
};

Versions VersionsOf(std::span<const Archive> sides) {
    Versions versions;
    for (const Archive& side : sides) {
        if (!side.Info().isFolder) versions = {side.Info().buildVersion, side.Info().productCode};
    }
    return versions;
}

// Bytes that the file has at least: how small members of folders become is not known before.
std::uint64_t LeastBytes(std::span<const Archive> sides, std::span<const OverlaidMember> members) {
    std::uint64_t bytes = archive::kArchivePreambleSize + archive::kChunkHeaderSize;
    for (const OverlaidMember& overlaid : members) {
        bytes += archive::kMemberPrefixSize + archive::kIndexRecordSize;
        if (!sides[overlaid.side].Info().isFolder) bytes += overlaid.member.StoredSize();
    }
    return bytes;
}

// What JudgeResult finds in the result, without one.
void JudgeMembers(std::span<const Archive> sides, std::span<const OverlaidMember> members,
                  const MergeOptions& options, WorkProgress& work) {
    std::vector<std::unique_ptr<archive::TreeReader>> readers;
    for (const Archive& side : sides) {
        readers.push_back(ArchiveAccess::TreeOf(side).NewReader());
    }
    for (const OverlaidMember& overlaid : members) {
        archive::TreeReader& reader = *readers[overlaid.side];
        try {
            reader.Begin(overlaid.member.Index());
            while (!reader.Next().empty()) continue;
        } catch (const archive::Error& error) {
            RefuseDamage(options.result, overlaid.member.Name(), error.Reason());
        }
        work.Add(overlaid.member.StoredSize());
    }
}

}  // namespace

MergeResult Merge(std::span<const Archive> sides, std::span<const OverlaidMember> members,
                  const MergeOptions& options, const ProgressFunction& progress) {
    std::vector<std::filesystem::path> inputs;
    for (const Archive& side : sides) inputs.push_back(side.Path());
    MergeResult merged;
    merged.members = members.size();
    merged.replacesLink = JudgeResultPlace(options.result, options.replace, inputs);
    JudgeSpace(options.result, LeastBytes(sides, members));
    std::uint64_t total = 0;
    for (const OverlaidMember& overlaid : members) {
        total += sides[overlaid.side].Info().isFolder ? overlaid.member.Size()
                                                      : overlaid.member.StoredSize();
    }
    if (options.dryRun) {
        WorkProgress work(progress, "checking", total);
        JudgeMembers(sides, members, options, work);
        return merged;
    }
    return Translated(options.result, [&] {
        const Versions versions = VersionsOf(sides);
        archive::NewArchive result(SystemPath(options.result), versions.build, versions.product);
        std::vector<SideCopier> copiers(sides.begin(), sides.end());
        WorkProgress work(progress, "writing", total);
        for (const OverlaidMember& overlaid : members) {
            copiers[overlaid.side].Copy(overlaid.member, result.Members(), work);
        }
        const archive::Reader& reader = result.Complete();
        work.Report(true);
        JudgeResult(reader, options.result, options.threads, progress);
        result.Publish(options.replace);
        merged.bytes = reader.All().fileSize;
        merged.abandoned.assign(result.Abandoned().begin(), result.Abandoned().end());
        return merged;
    });
}

}  // namespace va
