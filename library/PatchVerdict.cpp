#include "library/PatchVerdict.h"

#include <algorithm>
#include <vector>

#include "archive/Error.h"
#include "archive/Reader.h"
#include "library/PatchCalls.h"
#include "library/Translate.h"
#include "patch/Error.h"
#include "patch/PatchFile.h"
#include "patch/compact/CompactFile.h"
#include "patch/compact/Judge.h"
#include "platform/Directories.h"

namespace va {
namespace {

using Side = Verdict::Side;

static_assert(static_cast<int>(Side::Damaged) == static_cast<int>(patch::Verdict::Kind::Damaged));

// "a, b, c and 12 more"
std::string Named(const std::vector<std::string>& names) {
    constexpr std::size_t kMostNamed = 10;
    std::string text;
    for (std::size_t i = 0; i < std::min(names.size(), kMostNamed); ++i) {
        text += (i > 0 ? ", " : "") + names[i];
    }
    if (names.size() > kMostNamed) {
        text += " and " + std::to_string(names.size() - kMostNamed) + " more";
    }
    return text;
}

std::string MessageOf(const Verdict& verdict, const std::string& path, const std::string& reason) {
    if (verdict.side == Side::Damaged) {
        const std::string where = verdict.members.empty() ? "" : Named(verdict.members) + ": ";
        return path + ": damaged: " + where + reason +
               "; fetch it again, or take the damaged members from a good copy";
    }
    std::string text = path + " is not the archive that this patch is for";
    if (verdict.another) return text + ": another one altogether";
    if (verdict.likeNew) text += ": it is the new one already";
    if (verdict.members.empty()) return text + "; members were added to it or removed";
    text += verdict.certain ? "; changed on this machine: "
                            : "; changed on this machine, one or more of: ";
    return text + Named(verdict.members) + "; run 'va compare " + path + " COPY' for details";
}

}  // namespace

Verdict PublicVerdict(const patch::Verdict& found, const std::string& path) {
    Verdict verdict;
    verdict.side = static_cast<Side>(found.kind);
    verdict.certain = found.certain;
    verdict.another = found.another;
    verdict.likeNew = found.likeNew;
    for (const std::string& member : found.members) {
        verdict.members.push_back(patch::ShownName(member));
    }
    if (verdict.side == Side::Neither || verdict.side == Side::Damaged) {
        verdict.message = MessageOf(verdict, path, found.reason);
    }
    return verdict;
}

bool IsPatch(const std::filesystem::path& path) {
    platform::FileStatus status;
    if (!platform::GetStatus(SystemPath(path).c_str(), status) || status.IsDirectory()) {
        return false;
    }
    if (patch::compact::CompactFile::IsMeant(SystemPath(path))) return true;
    try {
        return patch::PatchFile::IsMeant(archive::Reader(SystemPath(path)));
    } catch (const archive::Error&) {
        return false;
    }
}

Verdict VerifyAgainst(const std::filesystem::path& target, const std::filesystem::path& patchPath,
                      unsigned threads, const ProgressFunction& progress) {
    return OfPatches([&] {
        const patch::ProgressFunction inner = Passed(progress);
        if (patch::compact::CompactFile::IsMeant(SystemPath(patchPath))) {
            const patch::compact::CompactFile compact(SystemPath(patchPath), inner);
            const patch::OldSide side(SystemPath(target));
            return PublicVerdict(patch::compact::JudgeSide(side, compact, threads, inner),
                                 side.Path());
        }
        const patch::PatchFile patchFile(SystemPath(patchPath), threads, inner);
        const patch::OldSide side(SystemPath(target));
        return PublicVerdict(side.Judge(patchFile, threads, inner), side.Path());
    });
}

}  // namespace va
