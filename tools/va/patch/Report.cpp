#include <array>
#include <filesystem>

#include "platform/Directories.h"
#include "tools/va/OutputFile.h"
#include "tools/va/Run.h"
#include "tools/va/ShownText.h"
#include "tools/va/Side.h"
#include "tools/va/patch/PatchCommands.h"
#include "tools/va/patch/ReasonTable.h"
#include "tools/va/patch/ReportPage.h"

namespace va::tool {
namespace {

constexpr Operand kOperands[] = {
    {.name = "PATCH",
     .meaning = "a patch archive, or a compact patch",
     .completes = Completes::Patches},
};
constexpr std::array kOptions = {&kOutput, &kForce, &kDryRun, &kJobs, &kJson};
constexpr std::array<std::string_view, 2> kExamples = {
    "va report Town-1.0-Town-1.1.patch.va", "va report Town-1.0-Town-1.1.patch.va -o why.html"};

void WriteTable(Answer& answer, const PatchReport& report) {
    constexpr std::size_t kReasonColumns = 44;
    answer.Write("patch bytes  share  reason                                       members\n");
    for (const ReasonRow& row : RowsOf(report)) {
        std::string line = RightAligned(std::to_string(row.bytes), 11) +
                           RightAligned(Percent(row.bytes, report.patchBytes), 7) + "  " +
                           std::string(row.text);
        if (row.members > 0) {
            line.resize(20 + kReasonColumns, ' ');
            line += RightAligned(std::to_string(row.members), 8);
        }
        answer.Write(line + "\n");
    }
    if (report.streams.empty()) return;
    answer.Write("\n      bytes  unpacked  stream\n");
    for (const PatchStream& stream : report.streams) {
        const std::string unpacked = stream.unpacked ? std::to_string(*stream.unpacked) : "";
        answer.Write(RightAligned(std::to_string(stream.bytes), 11) + RightAligned(unpacked, 10) +
                     "  " + std::string(CodeOf(stream.kind)) + "\n");
    }
}

void WriteJson(Answer& answer, const PatchReport& report) {
    for (const ReasonRow& row : RowsOf(report)) {
        answer.Write(JsonObject("reason")
                         .Set("reason", row.code)
                         .Set("bytes", row.bytes)
                         .Set("members", row.members));
    }
    for (const PatchStream& stream : report.streams) answer.Write(JsonOf(stream));
    for (const PatchReport::Item& item : report.items) {
        answer.Write(JsonObject("member")
                         .Set("name", item.name)
                         .Set("reason", CodeOf(item.reason))
                         .Set("bytes", item.patchBytes)
                         .Set("content", item.contentBytes));
    }
}

void ReportMembers(Run& run, const PatchReport& report) {
    for (const PatchReport::Item& item : report.items) {
        run.talk.Detail(std::string(CodeOf(item.reason)) + " " + Shown(item.name) + ", " +
                        ShownBytes(item.patchBytes));
    }
}

void WritePage(Run& run, const PatchReport& report, const std::string& path) {
    const std::string page =
        ReportPage(report, std::filesystem::path(run.Operand(0)).filename().string());
    if (path == "-") return run.answer.Write(page);
    if (platform::IsSameFile(path.c_str(), run.Operand(0).c_str())) {
        Refuse(Shown(path) + " is one of the inputs; name another file");
    }
    CheckOutputs({path}, run.Has(kForce));
    WriteFileWhole(run, path, std::as_bytes(std::span(page)), run.Has(kForce));
    run.talk.Summary((run.Has(kDryRun) ? "would write " : "") + Shown(path) + ": " +
                     ShownBytes(page.size()) + ", open it in a browser");
}

ExitCode RunReport(Run& run) {
    const auto output = run.Value(kOutput);
    if (output && output == "-" && run.answer.IsJson()) {
        throw Failure{ExitCode::Usage, "--json and -o - both want standard output; leave one out"};
    }
    const PatchReport report = ReportPatch(run.Operand(0), run.Jobs(), ProgressOf(run));
    ReportMembers(run, report);
    if (output) WritePage(run, report, *output);
    if (run.answer.IsJson()) {
        WriteJson(run.answer, report);
    } else if (!output) {
        WriteTable(run.answer, report);
    }
    run.answer.Last().Set("bytes", report.patchBytes);
    return ExitCode::Done;
}

}  // namespace

Command ReportCommand() {
    return {.words = "report",
            .summary = "show what makes a patch large",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Shows how many bytes of PATCH go to new content, to members that changed almost "
                "wholly (their diff is larger than half the content, as when pictures or sounds "
                "are re-encoded), to members that were moved or copied, to members that changed in "
                "part, and to lists and headers. With -v each member has a line, the largest "
                "first. A damaged patch is refused as by 'va apply'.\n"
                "\n"
                "Of a compact patch it shows the reasons and the streams that it is made of: what "
                "each member takes is known only while it is made ('va diff -v').\n"
                "\n"
                "With -o FILE.html it writes one page instead: a map whose areas are bytes of the "
                "patch, with the largest members below. The page needs nothing else and runs no "
                "scripts.\n",
            .examples = kExamples,
            .run = RunReport};
}

}  // namespace va::tool
