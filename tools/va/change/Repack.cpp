#include "vaconverter/repack.h"

#include <array>

#include "tools/va/OutputFile.h"
#include "tools/va/ShownText.h"
#include "tools/va/Side.h"
#include "tools/va/change/ChangeCommands.h"
#include "tools/va/change/Inputs.h"

namespace va::tool {
namespace {

constexpr Option kResult{.name = "output",
                         .letter = 'o',
                         .value = "OUT",
                         .meaning = "write a new archive, and leave ARCHIVE as it is",
                         .completes = Completes::Archives};

constexpr Operand kOperands[] = {
    {.name = "ARCHIVE", .meaning = "the archive to pack anew", .completes = Completes::Archives}};
constexpr std::array kOptions = {&kResult, &kCompress, &kForce, &kDryRun, &kJobs, &kJson};
constexpr std::array<std::string_view, 2> kExamples = {"va repack Town.va",
                                                       "va repack Town.va -o Town-small.va"};

void Summarize(Run& run, const RepackOptions& options, const RepackResult& result) {
    const std::string path =
        Shown((options.result.empty() ? options.archive : options.result).string());
    std::string text =
        (options.dryRun ? "would write " : "") + path + ": " + Counted(result.members, "member");
    if (!options.dryRun) text += ", " + ShownBytes(result.bytes);
    if (!options.dryRun && result.bytes < result.before) {
        text += ", " + ShownBytes(result.before - result.bytes) + " saved";
    } else if (!options.dryRun && result.bytes > result.before) {
        text += ", " + ShownBytes(result.bytes - result.before) + " more than before";
    }
    if (result.dead > 0) text += " (" + ShownBytes(result.dead) + " were dead)";
    run.talk.Summary(text);
    run.answer.Last()
        .Set("members", result.members)
        .Set("before", result.before)
        .Set("dead", result.dead)
        .Set("bytes", result.bytes);
}

ExitCode RunRepack(Run& run) {
    RepackOptions options;
    options.archive = run.Operand(0);
    options.result = run.Value(kResult).value_or("");
    if (options.result == "-") {
        throw Failure{ExitCode::Usage,
                      "an archive cannot be written to standard output; name a file"};
    }
    options.replace = run.Has(kForce);
    options.dryRun = run.Has(kDryRun);
    options.compression = CompressionOf(run);
    options.threads = run.Jobs();
    options.written = [&run](const Change& member) {
        run.talk.Detail("packed " + Shown(member.name));
    };
    const RepackResult result = Repack(options, ProgressOf(run));
    ReportPlace(run, options.result.empty() ? options.archive : options.result, result);
    Summarize(run, options, result);
    return ExitCode::Done;
}

}  // namespace

Command RepackCommand() {
    return {.words = "repack",
            .summary = "write an archive anew, without dead bytes",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Writes the members of ARCHIVE in the byte order of their lower-case names, "
                "compressed where it saves 2 %, with build version and product code: the same "
                "members give the same bytes. What deleted and replaced members left is dropped, "
                "and so are the times of members.\n"
                "\n"
                "ARCHIVE itself is replaced, whole or not at all, unless -o names a new archive. A "
                "damaged archive is refused, and its damaged members are named.\n",
            .examples = kExamples,
            .run = RunRepack};
}

}  // namespace va::tool
