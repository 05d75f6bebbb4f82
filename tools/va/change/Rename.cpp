#include <array>

#include "tools/va/change/ChangeCommands.h"
#include "tools/va/change/ChangedMembers.h"
#include "vaconverter/change.h"

namespace va::tool {
namespace {

constexpr Operand kOperands[] = {
    {.name = "ARCHIVE", .meaning = "the archive to change", .completes = Completes::Archives},
    {.name = "OLD", .meaning = "a member, or a folder of members", .completes = Completes::Members},
    {.name = "NEW",
     .meaning = "its new name; with '/' at the end a folder to move it into",
     .completes = Completes::Members},
};
constexpr std::array kOptions = {&kDryRun, &kJson};
constexpr std::array<std::string_view, 2> kExamples = {"va rename Town.va config.txt settings.txt",
                                                       "va rename Town.va textures/fine attic/"};

ExitCode RunRename(Run& run) {
    ChangeOptions options;
    options.dryRun = run.Has(kDryRun);
    options.changed = ChangeReporter(run);
    ReportResult(run, run.Operand(0),
                 RenameMembers(run.Operand(0), run.Operand(1), run.Operand(2), options));
    return ExitCode::Done;
}

}  // namespace

Command RenameCommand() {
    return {.words = "rename",
            .summary = "give a member or folder another name",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Changes names in place: no content is written anew. A name that another member "
                "has, letter case ignored, is refused, and so is one that no archive can hold.\n",
            .examples = kExamples,
            .run = RunRename};
}

}  // namespace va::tool
