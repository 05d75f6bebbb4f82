#include <array>

#include "tools/va/Side.h"
#include "tools/va/change/ChangeCommands.h"
#include "tools/va/change/ChangedMembers.h"
#include "vaconverter/change.h"

namespace va::tool {
namespace {

constexpr Operand kOperands[] = {
    {.name = "ARCHIVE", .meaning = "the archive to change", .completes = Completes::Archives},
    {.name = "PATTERN",
     .meaning = "members to delete; a folder's name means all below it",
     .optional = true,
     .repeats = true,
     .completes = Completes::Members},
};
constexpr std::array kOptions = {&kExclude, &kFilesFrom, &kZero, &kDryRun, &kJson};
constexpr std::array<std::string_view, 2> kExamples = {"va delete Town.va textures/fine",
                                                       "va delete -n Town.va '**/*.tga'"};

ExitCode RunDelete(Run& run) {
    const std::string& path = run.Operand(0);
    if (run.Operands().size() < 2 && !run.Value(kFilesFrom)) {
        throw Failure{ExitCode::Usage, "PATTERN is missing; 'va delete ARCHIVE **' deletes all"};
    }
    ChangeOptions options;
    options.dryRun = run.Has(kDryRun);
    options.changed = ChangeReporter(run);
    std::vector<std::string> names;
    {
        const Archive archive{std::filesystem::path(path)};
        if (archive.Info().isFolder) Refuse("'" + path + "' is a folder, not an archive");
        const Selection selection = SelectMembers(run, archive, 1);
        for (const Member& member : selection.Members()) {
            names.push_back(member.StoredName());
        }
    }
    ReportResult(run, path, DeleteMembers(path, names, options));
    return ExitCode::Done;
}

}  // namespace

Command DeleteCommand() {
    return {.words = "delete",
            .summary = "delete members of an archive",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Deletes the members that match, in place: no content is written anew. A pattern "
                "that matches nothing is exit code 9, and nothing is deleted. Their bytes stay in "
                "the file until 'va repack'.\n",
            .examples = kExamples,
            .run = RunDelete};
}

}  // namespace va::tool
