#include "library/JudgeResult.h"

#include <algorithm>
#include <string>

#include "archive/Check.h"
#include "library/Translate.h"

namespace va {

void JudgeResult(const archive::Reader& reader, const std::filesystem::path& result,
                 unsigned threads, const ProgressFunction& progress) {
    archive::CheckOptions check{.workers = threads};
    if (progress) {
        check.progress = [&progress](std::uint64_t done, std::uint64_t total) {
            return progress({"checking", done, total});
        };
    }
    const archive::Judgement judgement = archive::Check(reader, check);
    if (judgement.cancelled) throw Error(ErrorCode::Refused, "cancelled");
    const auto damage = std::ranges::find_if(
        judgement.findings, [](const archive::Finding& found) { return IsDamage(found.fault); });
    if (damage != judgement.findings.end()) {
        RefuseDamage(result, PublicName(damage->member), damage->text);
    }
}

void RefuseDamage(const std::filesystem::path& result, const std::string& member,
                  const std::string& reason) {
    throw Error(ErrorCode::Refused,
                result.string() + " was not written: " + member + (member.empty() ? "" : ": ") +
                    reason + "; 'va test' of the inputs shows where it comes from",
                result, member);
}

}  // namespace va
