#include "vaconverter/report.h"

#include <algorithm>

#include "library/PatchCalls.h"
#include "library/Translate.h"
#include "patch/PatchFile.h"
#include "patch/Report.h"
#include "patch/compact/CompactFile.h"
#include "vaconverter/patch.h"

namespace va {
namespace {

PatchReport::Reason ReasonOf(patch::Reason reason) {
    switch (reason) {
        case patch::Reason::Rewritten:
            return PatchReport::Reason::Rewritten;
        case patch::Reason::Moved:
            return PatchReport::Reason::Moved;
        case patch::Reason::ChangedInPart:
            return PatchReport::Reason::ChangedInPart;
        default:
            return PatchReport::Reason::NewContent;
    }
}

using Reason = PatchReport::Reason;

PatchReport ReportArchive(const std::filesystem::path& patch, unsigned threads,
                          const patch::ProgressFunction& progress) {
    const patch::PatchFile file(SystemPath(patch), threads, progress);
    const patch::Report found = Translated(patch, [&] { return patch::ReportOn(file.Reader()); });
    PatchReport report{.patchBytes = found.fileBytes, .overhead = found.overhead};
    for (const Reason reason :
         {Reason::NewContent, Reason::Rewritten, Reason::Moved, Reason::ChangedInPart}) {
        report.totals.push_back({.reason = reason});
    }
    report.items.reserve(found.items.size());
    for (const patch::ReportItem& item : found.items) {
        const Reason reason = ReasonOf(item.reason);
        PatchReport::Total& total = report.totals.at(static_cast<std::size_t>(reason));
        total.patchBytes += item.patchBytes;
        ++total.members;
        report.items.push_back({PublicName(item.name), reason, item.patchBytes, item.contentBytes});
    }
    return report;
}

// The shares of the reasons are claims of the maker: no reader needs them.
PatchReport ReportCompact(const std::filesystem::path& path,
                          const patch::ProgressFunction& progress) {
    const patch::compact::CompactFile patch(SystemPath(path), progress);
    const patch::compact::Directory& members = patch.Members();
    const patch::compact::Shares& shares = patch.ContentShares();
    PatchReport report{.patchBytes = patch.Bytes(), .overhead = patch.Bytes()};
    const auto add = [&report](Reason reason, std::uint64_t bytes, std::uint64_t count) {
        const std::uint64_t taken = std::min(bytes, report.overhead);
        report.overhead -= taken;
        report.totals.push_back({reason, taken, count});
    };
    const std::uint64_t rewritten =
        std::min<std::uint64_t>(shares.rewrittenMembers, members.changed.size());
    add(Reason::NewContent, shares.added, members.added.size() + members.empty.size());
    add(Reason::Rewritten, shares.rewritten, rewritten);
    add(Reason::Moved, 0, members.moved.size());
    add(Reason::ChangedInPart, shares.changed, members.changed.size() - rewritten);
    report.streams = StreamsOf(patch);
    return report;
}

}  // namespace

bool MemberChange::IsRewritten() const {
    return kind == Kind::Changed && patch::IsRewritten(newSize, patchSize);
}

PatchReport ReportPatch(const std::filesystem::path& patch, unsigned threads,
                        const ProgressFunction& progress) {
    if (std::filesystem::is_directory(patch)) {
        throw Error(ErrorCode::Refused, patch.string() + " is a folder, not a patch", patch);
    }
    return OfPatches([&] {
        const patch::ProgressFunction inner = Passed(progress);
        return IsCompactPatch(patch) ? ReportCompact(patch, inner)
                                     : ReportArchive(patch, threads, inner);
    });
}

}  // namespace va
