#include "vaconverter/report.h"

#include "library/PatchCalls.h"
#include "library/Translate.h"
#include "patch/PatchFile.h"
#include "patch/Report.h"
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
        const patch::PatchFile file(SystemPath(patch), threads, Passed(progress));
        const patch::Report found =
            Translated(patch, [&] { return patch::ReportOn(file.Reader()); });
        PatchReport report{.patchBytes = found.fileBytes, .overhead = found.overhead, .items = {}};
        report.items.reserve(found.items.size());
        for (const patch::ReportItem& item : found.items) {
            report.items.push_back(
                {PublicName(item.name), ReasonOf(item.reason), item.patchBytes, item.contentBytes});
        }
        return report;
    });
}

}  // namespace va
