#include "converter/ArchiveCheck.h"

#include <algorithm>
#include <string>

#include "archive/Check.h"
#include "archive/Error.h"
#include "converter/Console.h"
#include "converter/Guarded.h"

namespace converter {

namespace {

[[nodiscard]] std::string Place(const archive::Finding& finding) {
    std::string place = " at byte " + std::to_string(finding.offset);
    if (!finding.member.empty()) place += ", member \"" + finding.member + '"';
    return place + ": " + finding.text;
}

// Returns whether only the index is gone, and not because the file was cut: what a writer leaves
// that is stopped before it writes the index. The members before that point are whole.
[[nodiscard]] bool LooksUnfinished(const archive::Reader& reader,
                                   const archive::Judgement& judgement) {
    return reader.Index() == archive::IndexState::Missing && judgement.damages == 1 &&
           reader.Header().indexOffset < reader.All().fileSize;
}

void PrintDamage(const std::string& name, const archive::Reader& reader,
                 const archive::Judgement& judgement) {
    const auto first = std::ranges::find_if(
        judgement.findings, [](const auto& finding) { return IsDamage(finding.fault); });
    const bool known = first != judgement.findings.end();
    const char* const cure =
        LooksUnfinished(reader, judgement)
            ? "; if the program that wrote it was stopped, add a file to it with VArchive, which "
              "writes the index again, else fetch it again"
            : "; fetch it again";
    PrintProblem(name + " is damaged" + (known ? Place(*first) : "") + cure);
}

}  // namespace

bool JudgeArchive(std::string_view path, Depth depth) {
    const std::string name = '"' + std::string(path) + '"';
    try {
        const archive::Reader reader{std::string(path)};
        const archive::Judgement judgement = archive::Check(
            reader,
            {.content = depth == Depth::Content, .progress = [](std::uint64_t, std::uint64_t) {
                 return !platform::InterruptionAsked();
             }});
        StopIfAsked();
        if (!judgement.Whole()) {
            PrintDamage(name, reader, judgement);
        } else if (reader.Index() == archive::IndexState::Absent) {
            PrintProblem(name + " has no index; its members were found by walking its chunks");
        }
        return judgement.Whole();
    } catch (const archive::Error& error) {
        PrintProblem(name + " cannot be judged: " + error.what());
    }
    return false;
}

}  // namespace converter
