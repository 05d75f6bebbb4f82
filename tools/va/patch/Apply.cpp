#include <array>
#include <chrono>
#include <cstdio>

#include "tools/va/OutputFile.h"
#include "tools/va/ShownText.h"
#include "tools/va/Side.h"
#include "tools/va/patch/PatchCommands.h"
#include "tools/va/patch/PatchSide.h"

namespace va::tool {
namespace {

constexpr Option kResult{.name = "output",
                         .letter = 'o',
                         .value = "NEW",
                         .meaning = "the archive to write, or a folder for it",
                         .completes = Completes::Files};
constexpr Option kCheck{.name = "check", .meaning = "only check PATCH and OLD; write nothing"};
constexpr Option kTrust{.name = "trust", .meaning = "do not check OLD first"};

constexpr Operand kOperands[] = {
    {.name = "OLD",
     .meaning = "the archive that the patch is for, or its folder",
     .completes = Completes::Archives},
    {.name = "PATCH", .meaning = "the patch", .completes = Completes::Patches},
};
constexpr std::array kOptions = {&kResult, &kCheck, &kTrust,       &kForce,
                                 &kDryRun, &kJobs,  &kMemoryLimit, &kJson};
constexpr std::array<std::string_view, 3> kExamples = {
    "va apply Town.va town-1.1.patch.va", "va apply Town.va town-1.1.patch.va -o Town-1.1.va",
    "va apply --check Town.va town-1.1.patch.va"};

using Clock = std::chrono::steady_clock;

std::string ShownSeconds(Clock::duration time) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f s", std::chrono::duration<double>(time).count());
    return text.data();
}

ApplyPatchOptions OptionsOf(Run& run) {
    const PatchOperands operands = SortOperands(run);
    ApplyPatchOptions options{.old = operands.target, .patch = operands.patch};
    options.result = run.Value(kResult).value_or("");
    if (options.result == "-") {
        throw Failure{ExitCode::Usage,
                      "an archive cannot be written to standard output; name a file"};
    }
    options.replace = run.Has(kForce);
    options.check = run.Has(kCheck);
    options.trust = run.Has(kTrust);
    options.dryRun = run.Has(kDryRun);
    options.threads = run.Jobs();
    if (const auto limit = run.Value(kMemoryLimit)) {
        options.memoryLimit = BytesValue(kMemoryLimit, *limit);
    }
    options.judged = [&run](const Verdict& verdict) { WriteSuspects(run, verdict); };
    return options;
}

void Summarize(Run& run, const ApplyPatchOptions& options, const ApplyPatchResult& result,
               Clock::duration time) {
    const std::string old = Shown(options.old.string());
    const std::string path = Shown(result.result.string());
    const std::string counts = ShownCounts(result.counts);
    // Before --check and --dry-run: that nothing needs to be done is the answer to both.
    if (result.alreadyApplied && result.resultSize == 0) {
        return run.talk.Summary((path.empty() ? old : path) + ": already applied");
    }
    if (options.check) return run.talk.Summary(old + ": the patch can be applied  " + counts);
    if (options.dryRun) return run.talk.Summary("would write " + path + "  " + counts);
    if (result.alreadyApplied) {
        return run.talk.Summary(path + "   " + ShownBytes(result.resultSize) + "   " + old +
                                " was the new side already, and was copied");
    }
    run.talk.Summary(path + "   " + ShownBytes(result.resultSize) + "   " + counts + "     " +
                     ShownSeconds(time));
    if (result.archive) {
        run.talk.Summary("proved: sha256 " + HexOf(*result.archive) + " as the maker's");
    }
}

void Answer(Run& run, const ApplyPatchResult& result) {
    JsonObject& last = run.answer.Last();
    last.Set("already_applied", result.alreadyApplied)
        .Set("result", result.result.string())
        .Set("size", result.resultSize)
        .Set("same", result.counts.same)
        .Set("changed", result.counts.changed)
        .Set("added", result.counts.added)
        .Set("moved", result.counts.moved)
        .Set("removed", result.counts.removed);
    if (result.archive) last.Set("sha256", HexOf(*result.archive));
}

ExitCode RunApply(Run& run) {
    const Clock::time_point start = Clock::now();
    const ApplyPatchOptions options = OptionsOf(run);
    const ApplyPatchResult result = ApplyPatch(options, ProgressOf(run));
    if (!result.note.empty()) run.talk.Note(Shown(result.note));
    ReportPlace(run, result.result, result);
    for (const MemberChange& change : result.changes) {
        run.talk.Detail(std::string(WordOf(change.kind)) + " " + Shown(change.name));
    }
    Summarize(run, options, result, Clock::now() - start);
    Answer(run, result);
    // The result is correct, but a digest that the maker published for the file will not match.
    if (!result.storedOtherwise) return ExitCode::Done;
    run.talk.Warning(
        Shown(result.result.string()) +
        ": its members and contents are the maker's, but its bytes are not: OLD stores "
        "members differently from the archive that the patch was made from");
    return ExitCode::LookAt;
}

}  // namespace

Command ApplyCommand() {
    return {.words = "apply",
            .summary = "apply a patch: make the new archive from the old one",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Makes the new archive from OLD and PATCH, which may come in either order. First "
                "every byte of both is checked: a damaged patch, and an archive that the patch is "
                "not for, end with exit code 2, and the members that were changed are named. The "
                "new archive is read back and compared before it gets its name; it appears "
                "complete or not at all, and OLD does not change.\n"
                "\n"
                "Without -o it gets the name that the maker chose, beside OLD. A patch of "
                "VAConverter has no name; the new archive is then OLD-new.va. It is so too if OLD "
                "itself has the name that the maker chose.\n"
                "\n"
                "If OLD is the new side already, it is only copied to NEW if NEW is named, and the "
                "exit code is 0. The exit code is 1 when the contents are the maker's but the "
                "bytes of the archive are not.\n",
            .examples = kExamples,
            .run = RunApply};
}

}  // namespace va::tool
