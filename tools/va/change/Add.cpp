#include <array>
#include <filesystem>

#include "tools/va/Side.h"
#include "tools/va/change/ChangeCommands.h"
#include "tools/va/change/ChangedMembers.h"
#include "tools/va/change/Inputs.h"

namespace va::tool {
namespace {

constexpr Option kAs{.name = "as",
                     .value = "NAME",
                     .meaning = "the member's name; for one PATH that is a file, or '-'",
                     .completes = Completes::Members};
constexpr Option kUnder{.name = "under",
                        .value = "FOLDER",
                        .meaning = "put the members below this folder of the archive",
                        .completes = Completes::Members};
constexpr Option kUpdate{.name = "update",
                         .letter = 'u',
                         .meaning = "leave members alone whose content is in the archive already"};
constexpr Option kSync{
    .name = "sync", .meaning = "the same, and delete the members that are not among those to add"};

constexpr Operand kOperands[] = {
    {.name = "ARCHIVE", .meaning = "the archive to change", .completes = Completes::Archives},
    {.name = "PATH",
     .meaning = "folders, whose content is taken, or files; '-' with --as is standard input",
     .repeats = true},
};
constexpr std::array kOptions = {&kAs,      &kUnder,  &kUpdate, &kSync, &kCompress,
                                 &kExclude, &kDryRun, &kJobs,   &kJson};
constexpr std::array<std::string_view, 3> kExamples = {"va add Town.va my-edits --under=textures",
                                                       "va add --sync -n Town.va town-work",
                                                       "date | va add Town.va - --as=built.txt"};

Inputs OpenInputs(Run& run, const AddOptions& options) {
    const std::optional<std::string> name = run.Value(kAs);
    if (!name) {
        if (run.Operand(1) == "-") {
            throw Failure{ExitCode::Usage, "standard input has no name; give one with --as=NAME"};
        }
        return {run, 1, options.syncUnder};
    }
    const std::string& path = run.Operand(1);
    if (run.Operands().size() > 2 || std::filesystem::is_directory(path) || options.sync) {
        throw Failure{ExitCode::Usage,
                      "--as names one file, without --sync; --under=FOLDER is for more"};
    }
    const std::string& under = options.syncUnder;
    return {path, under.empty() || under.ends_with('/') ? under + *name : under + "/" + *name};
}

ExitCode RunAdd(Run& run) {
    AddOptions options;
    options.update = run.Has(kUpdate);
    options.sync = run.Has(kSync);
    options.syncUnder = run.Value(kUnder).value_or("");
    options.dryRun = run.Has(kDryRun);
    options.compression = CompressionOf(run);
    options.threads = run.Jobs();
    options.changed = ChangeReporter(run);
    if (options.sync && run.Has(kExclude)) {
        throw Failure{ExitCode::Usage, "--sync deletes what --exclude leaves out; use one of them"};
    }
    Inputs inputs = OpenInputs(run, options);
    const ChangeResult result = inputs.Writer().AddTo(run.Operand(0), options, ProgressOf(run));
    ReportResult(run, run.Operand(0), result);
    return ExitCode::Done;
}

}  // namespace

Command AddCommand() {
    return {.words = "add",
            .summary = "add members to an archive, or replace them",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Adds the content of each folder, names relative to it, and files under their own "
                "names. A member of the same name is replaced, letter case ignored. What an "
                "archive cannot hold is refused before the first byte is written, as by 'va "
                "create'.\n"
                "\n"
                "--update compares contents, not times. --sync makes the archive, or the folder of "
                "it that --under names, the same as PATH; with -n it shows what it would do.\n"
                "\n"
                "The archive is changed in place. However the run ends, it holds all members that "
                "it had or all that it was to have, and programs that have it open go on reading. "
                "Bytes of what was replaced stay in the file until 'va repack'.\n",
            .examples = kExamples,
            .run = RunAdd};
}

}  // namespace va::tool
