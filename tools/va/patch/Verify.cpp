#include <array>

#include "tools/va/ShownText.h"
#include "tools/va/Side.h"
#include "tools/va/patch/PatchCommands.h"
#include "tools/va/patch/PatchSide.h"
#include "tools/va/patch/VerifySums.h"

namespace va::tool {
namespace {

constexpr Operand kOperands[] = {
    {.name = "TARGET", .meaning = "an archive, or a folder", .completes = Completes::Archives},
    {.name = "PATCH|SUMS",
     .meaning = "the patch, or a file of sha256sum ('-': standard input)",
     .completes = Completes::Patches},
};
constexpr std::array kOptions = {&kJobs, &kJson};
constexpr std::array<std::string_view, 3> kExamples = {"va verify Town.va town-1.1.patch.va",
                                                       "va verify Town.va Town.sums",
                                                       "va sums Town.va | va verify - town/"};

ExitCode RunVerify(Run& run) {
    // Operands come in either order, the usual one first. Sums are looked for before patches, since
    // their first line is unmistakable.
    for (const std::size_t at : {1U, 0U}) {
        const std::string& path = run.Operand(at);
        if (const auto sums = ReadSumsFile(path)) {
            return VerifySums(run, run.Operand(1 - at), path, *sums);
        }
        // Stop here: with a patch, an empty other operand is a failed download, not empty sums.
        if (IsPatch(path)) break;
    }
    const PatchOperands operands = SortOperands(run);
    const Verdict verdict =
        VerifyAgainst(operands.target, operands.patch, run.Jobs(), ProgressOf(run));
    const char* const side = NameOf(verdict.side);
    WriteSuspects(run, verdict);
    run.answer.Last().Set("file", operands.target).Set("side", side);
    if (verdict.message.empty()) {
        if (!run.answer.IsJson()) {
            run.answer.Write(Shown(operands.target) + ": the " + side + " side\n");
        }
        return ExitCode::Done;
    }
    run.talk.Error(Shown(verdict.message));
    return verdict.side == Verdict::Side::Damaged ? ExitCode::Refused : ExitCode::LookAt;
}

}  // namespace

Command VerifyCommand() {
    return {.words = "verify",
            .summary = "show which side of a patch an archive is, or check its sums",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Reads all of TARGET and PATCH, which may come in either order, and shows which "
                "side of the patch TARGET is. The exit code is 0 for either side, 1 for neither, "
                "and 2 when TARGET or PATCH is damaged.\n"
                "\n"
                "With a file of sha256sum lines, such as 'va sums' prints, in either place, it "
                "shows the members of TARGET that differ, are missing or are not listed. The exit "
                "code is 1 if there are any.\n"
                "\n"
                "With -v there is a line for each member that keeps TARGET from being a side of "
                "the patch, or for each member that matches its sum.\n",
            .examples = kExamples,
            .run = RunVerify};
}

}  // namespace va::tool
