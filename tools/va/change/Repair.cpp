#include "vaconverter/repair.h"

#include <array>

#include "tools/va/OutputFile.h"
#include "tools/va/ShownText.h"
#include "tools/va/Side.h"
#include "tools/va/change/ChangeCommands.h"

namespace va::tool {
namespace {

constexpr Option kResult{.name = "output",
                         .letter = 'o',
                         .value = "OUT",
                         .meaning = "the archive to write",
                         .completes = Completes::Archives};
constexpr Option kFrom{.name = "from",
                       .value = "GOOD",
                       .meaning = "take damaged members from a good copy, archive or folder",
                       .completes = Completes::Archives};

constexpr Operand kOperands[] = {
    {.name = "ARCHIVE", .meaning = "the damaged archive", .completes = Completes::Archives}};
constexpr std::array kOptions = {&kResult, &kFrom, &kForce, &kDryRun, &kJobs, &kJson};
constexpr std::array<std::string_view, 2> kExamples = {
    "va repair Town.va -o Town-saved.va",
    "va repair Town.va -o Town-saved.va --from=backup/Town.va"};

const char* WordOf(RepairedMember::Fate fate) {
    switch (fate) {
        case RepairedMember::Fate::Saved:
            return "saved";
        case RepairedMember::Fate::Copied:
            return "copied";
        case RepairedMember::Fate::Doubtful:
            return "doubtful";
        default:
            return "lost";
    }
}

// The answer is what a person must look at; with -v, and in JSON, all members.
void ReportMember(Run& run, const RepairedMember& member) {
    const char* const word = WordOf(member.fate);
    if (run.answer.IsJson()) {
        JsonObject object("repaired");
        object.Set("fate", word)
            .SetName("name", member.name, member.storedName)
            .Set("size", member.size);
        if (!member.what.empty()) object.Set("what", Shown(member.what));
        run.answer.Write(object);
        return;
    }
    const std::string line = std::string(word) + " " + Shown(member.name) +
                             (member.what.empty() ? "" : ": " + Shown(member.what));
    if (member.fate == RepairedMember::Fate::Saved) return run.talk.Detail(line);
    run.answer.Write(line + "\n");
}

void Explain(Run& run, const RepairOptions& options, const RepairResult& result) {
    const std::string archive = Shown(options.archive.string());
    if (result.unreadable > 0) {
        run.talk.Warning(archive + ": the system could not read " +
                         GroupedDigits(result.unreadable) +
                         " bytes; save the disk before it gets worse");
    }
    if (!result.headerFound) {
        run.talk.Note(archive +
                      ": its header is destroyed, and with it build version and product code");
    }
    if (!result.indexWhole) {
        run.talk.Note(archive +
                      ": its index is destroyed or damaged, so members that were deleted or "
                      "replaced may have come back");
    }
    if (result.older > 0) {
        run.talk.Note(archive + ": of members of one name the last one was saved; " +
                      Counted(result.older, "older one") + " left out");
    }
    if (result.unlisted > 0) {
        run.talk.Note(archive + ": " + Counted(result.unlisted, "member") +
                      " that the index does not list left out");
    }
    if (result.unnamed > 0) {
        run.talk.Warning(archive + ": its header promises " +
                         Counted(result.unnamed, "more member") +
                         ", of which not even the names are left");
    }
}

void Summarize(Run& run, const RepairOptions& options, const RepairResult& result) {
    const std::uint64_t kept = result.saved + result.copied + result.doubtful;
    std::string text = (options.dryRun ? "would write " : "") + Shown(options.result.string()) +
                       ": " + Counted(kept, "member") + " saved";
    if (result.copied > 0) text += ", " + GroupedDigits(result.copied) + " of them copied";
    if (result.doubtful > 0) text += ", " + GroupedDigits(result.doubtful) + " of them doubtful";
    text += ", " + GroupedDigits(result.lost + result.unnamed) + " lost";
    if (!options.dryRun) text += ", " + ShownBytes(result.bytes);
    run.talk.Summary(text);
    run.answer.Last()
        .Set("saved", result.saved)
        .Set("copied", result.copied)
        .Set("doubtful", result.doubtful)
        .Set("lost", result.lost)
        .Set("unnamed", result.unnamed)
        .Set("older", result.older)
        .Set("unlisted", result.unlisted)
        .Set("unreadable", result.unreadable)
        .Set("header", result.headerFound)
        .Set("index", result.indexWhole)
        .Set("bytes", result.bytes);
}

ExitCode RunRepair(Run& run) {
    const std::optional<std::string> out = run.Value(kResult);
    if (!out || *out == "-") {
        throw Failure{ExitCode::Usage,
                      "a repaired archive needs a file of its own; name it with -o"};
    }
    RepairOptions options;
    options.archive = run.Operand(0);
    options.result = *out;
    options.from = run.Value(kFrom).value_or("");
    options.replace = run.Has(kForce);
    options.dryRun = run.Has(kDryRun);
    options.threads = run.Jobs();
    options.judged = [&run](const RepairedMember& member) { ReportMember(run, member); };
    const RepairResult result = Repair(options, ProgressOf(run));
    ReportPlace(run, options.result, result);
    Explain(run, options, result);
    Summarize(run, options, result);
    return result.AllSaved() ? ExitCode::Done : ExitCode::LookAt;
}

}  // namespace

Command RepairCommand() {
    return {.words = "repair",
            .summary = "save what is whole in a damaged archive",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Searches every byte of ARCHIVE for members, with its index or without, and writes "
                "those whose content has its check sum to OUT, which is a sound archive. ARCHIVE "
                "stays as it is. A line says which members are lost, and why; -v names the saved "
                "ones too. The exit code is 0 when all were saved, 1 when some were not or are "
                "doubtful, and 2 when there was nothing to save.\n"
                "\n"
                "--from takes damaged members from a good copy, an archive or a folder, where "
                "name, size and check sum are those of the lost one.\n"
                "\n"
                "When the index is destroyed, members that were deleted or replaced may come back. "
                "Of several of one name the last one in the file is saved.\n",
            .examples = kExamples,
            .run = RunRepair};
}

}  // namespace va::tool
