#include <array>

#include "tools/va/ShownText.h"
#include "tools/va/Side.h"
#include "tools/va/patch/PatchCommands.h"
#include "tools/va/patch/PatchSide.h"

namespace va::tool {
namespace {

constexpr Operand kOperands[] = {
    {.name = "PATCH", .meaning = "a compact patch", .completes = Completes::Files},
    {.name = "OLD",
     .meaning = "the archive that it was made from, or its folder",
     .completes = Completes::Archives},
};
constexpr std::array kOptions = {&kOutput, &kForce, &kDryRun, &kJobs, &kMemoryLimit, &kJson};
constexpr std::array<std::string_view, 2> kExamples = {
    "va expand Town-1.0-Town-1.1.vap Town-1.0.va",
    "va expand Town-1.0-Town-1.1.vap Town-1.0.va -o town-1.1.patch.va"};

ExitCode RunExpand(Run& run) {
    // Either order is accepted, as by `va apply`, whose operands come the other way round.
    const bool isTurned = !IsPatch(run.Operand(0)) && IsPatch(run.Operand(1));
    const std::filesystem::path patch = run.Operand(isTurned ? 1 : 0);
    ExpandPatchOptions options{.patch = patch, .old = run.Operand(isTurned ? 0 : 1), .result = {}};
    options.result = run.Value(kOutput).value_or(patch.stem().string() + ".patch.va");
    if (options.result == "-") {
        throw Failure{ExitCode::Usage, "a patch cannot be written to standard output; name a file"};
    }
    options.replace = run.Has(kForce);
    options.dryRun = run.Has(kDryRun);
    options.threads = run.Jobs();
    if (const auto limit = run.Value(kMemoryLimit)) {
        options.memoryLimit = BytesValue(kMemoryLimit, *limit);
    }
    const ExpandPatchResult made = ExpandPatch(options, ProgressOf(run));
    run.talk.Summary((options.dryRun ? "would write " : "") + Shown(options.result.string()) +
                     "  " + ShownBytes(made.patchSize));
    run.answer.Last().Set("patch", options.result.string()).Set("size", made.patchSize);
    return ExitCode::Done;
}

}  // namespace

Command ExpandCommand() {
    return {.words = "expand",
            .summary = "make the patch archive of a compact patch",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Writes the patch archive that 'va diff' without --compact would have made of the "
                "same two sides, byte for byte. OLD must be the old side of PATCH; the operands "
                "may come in either order. Without -o it is PATCH with the ending .patch.va, in "
                "the current folder. The new side is built beside it and removed again.\n",
            .examples = kExamples,
            .run = RunExpand};
}

}  // namespace va::tool
