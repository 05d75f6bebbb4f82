#include "vaconverter/overlay.h"

#include <algorithm>
#include <array>

#include "tools/va/OutputFile.h"
#include "tools/va/ShownText.h"
#include "tools/va/Side.h"
#include "tools/va/read/ReadCommands.h"

namespace va::tool {
namespace {

constexpr Option kConflicts{.name = "conflicts", .meaning = "only members that hide other content"};
constexpr Option kWrite{.name = "write",
                        .value = "OUT",
                        .meaning = "write an archive of the members that win",
                        .completes = Completes::Archives};

constexpr Operand kOperands[] = {
    {.name = "ARCHIVE",
     .meaning = "archives or folders in the order in which they are mounted; the last one wins",
     .repeats = true,
     .completes = Completes::Archives}};
constexpr std::array kOptions = {&kConflicts, &kWrite, &kForce, &kDryRun, &kJobs, &kJson};
constexpr std::array<std::string_view, 2> kExamples = {
    "va overlay --conflicts Town.va mods.va my-edits/",
    "va overlay --write=Merged.va Town.va mods.va"};

void WriteJson(Run& run, std::span<const Archive> sides, const OverlaidMember& overlaid) {
    const auto describe = [&](const char* type, std::size_t side, const Member& member) {
        JsonObject object(type);
        object.SetName("name", member.Name(), member.StoredName())
            .Set("from", run.Operand(side))
            .Set("size", member.Size());
        return object;
    };
    run.answer.Write(describe("overlaid", overlaid.side, overlaid.member)
                         .Set("hidden", std::uint64_t{overlaid.hidden.size()})
                         .Set("conflict", overlaid.conflict));
    for (const auto& [side, index] : overlaid.hidden) {
        run.answer.Write(describe("hidden", side, sides[side].Members()[index]));
    }
}

void Write(Run& run, std::span<const Archive> sides, const OverlaidMember& overlaid) {
    if (run.answer.IsJson()) return WriteJson(run, sides, overlaid);
    std::string line = Shown(run.Operand(overlaid.side)) + "\t" + Shown(overlaid.member.Name());
    const char* before = "\thides ";
    for (const auto& [side, index] : overlaid.hidden) {
        line += before + Shown(run.Operand(side));
        before = ", ";
    }
    run.answer.Write(line + "\n");
}

void WriteMerged(Run& run, const std::string& result, std::span<const Archive> sides,
                 std::span<const OverlaidMember> members) {
    MergeOptions options;
    options.result = result;
    options.replace = run.Has(kForce);
    options.dryRun = run.Has(kDryRun);
    options.threads = run.Jobs();
    const MergeResult merged = Merge(sides, members, options, ProgressOf(run));
    ReportPlace(run, result, merged);
    if (run.answer.IsJson()) {
        run.answer.Write(JsonObject("written")
                             .Set("file", result)
                             .Set("members", merged.members)
                             .Set("bytes", merged.bytes));
    }
    run.talk.Summary((options.dryRun ? "would write " : "") + Shown(result) + ": " +
                     Counted(merged.members, "member") +
                     (options.dryRun ? "" : ", " + ShownBytes(merged.bytes)));
}

ExitCode RunOverlay(Run& run) {
    const std::optional<std::string> result = run.Value(kWrite);
    if (result == "-") {
        throw Failure{ExitCode::Usage,
                      "an archive cannot be written to standard output; name a file"};
    }
    std::vector<Archive> sides;
    bool mayLack = false;
    for (const std::string& operand : run.Operands()) {
        mayLack = MayLackMembers(run, sides.emplace_back(OpenSide(run, operand))) || mayLack;
    }
    // A missing member hides nothing, so an earlier one would win. A list with a warning is still
    // useful, but an archive made of it would be wrong without a sign.
    if (result && mayLack) {
        throw Failure{
            ExitCode::Refused,
            "nothing was written to '" + Shown(*result) +
                "': an archive may lack members, so the wrong ones could win; save it with "
                "'va repair' first"};
    }
    const std::vector<OverlaidMember> members = Overlay(sides, ProgressOf(run));
    std::uint64_t conflicts = 0;
    for (const OverlaidMember& overlaid : members) {
        conflicts += overlaid.conflict ? 1 : 0;
        // With --write the list is omitted, unless --conflicts asks for one.
        const bool listed = run.Has(kConflicts) ? overlaid.conflict : !result;
        if (listed) Write(run, sides, overlaid);
    }
    if (result) WriteMerged(run, *result, sides, members);
    run.answer.Last().Set("members", std::uint64_t{members.size()}).Set("conflicts", conflicts);
    if (!result) {
        run.talk.Summary(Counted(members.size(), "member") + ", " + Counted(conflicts, "conflict"));
    }
    const bool found = run.Has(kConflicts) && conflicts > 0;
    return mayLack || found ? ExitCode::LookAt : ExitCode::Done;
}

}  // namespace

Command OverlayCommand() {
    return {.words = "overlay",
            .summary = "show the members of archives that are mounted together",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Shows for each member the archive that it comes from when all are mounted in this "
                "order, a tab, its name, and after another tab the archives whose member of that "
                "name it hides. With --conflicts only members that hide other content are listed, "
                "and the exit code is 1 if there are any; sizes and check sums decide.\n"
                "\n"
                "--write makes an archive of the members that win. Members of archives keep their "
                "stored bytes, those of folders are compressed where it saves 2 %. OUT appears "
                "when all of it was written and checked, or not at all; an existing OUT is "
                "replaced only with -f.\n",
            .examples = kExamples,
            .run = RunOverlay};
}

}  // namespace va::tool
