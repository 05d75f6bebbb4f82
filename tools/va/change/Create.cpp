#include <array>

#include "tools/va/OutputFile.h"
#include "tools/va/ShownText.h"
#include "tools/va/Side.h"
#include "tools/va/change/ChangeCommands.h"
#include "tools/va/change/ChangedMembers.h"
#include "tools/va/change/Inputs.h"

namespace va::tool {
namespace {

constexpr Option kBuildVersion{.name = "build-version",
                               .value = "N",
                               .meaning = "the number that the archive carries as its build"};
constexpr Option kProductCode{.name = "product-code",
                              .value = "N",
                              .meaning = "the number that the archive carries for its product"};

constexpr Operand kOperands[] = {
    {.name = "ARCHIVE", .meaning = "the archive to make", .completes = Completes::Archives},
    {.name = "PATH", .meaning = "folders, whose content is taken, or files", .repeats = true},
};
constexpr std::array kOptions = {&kCompress, &kBuildVersion, &kProductCode, &kExclude,
                                 &kForce,    &kDryRun,       &kJobs,        &kJson};
constexpr std::array<std::string_view, 2> kExamples = {
    "va create Town.va town-work", "va create --compress=all --build-version=3 Town.va town-work"};

std::uint32_t NumberOf(const Run& run, const Option& option) {
    const std::optional<std::string> text = run.Value(option);
    return text ? static_cast<std::uint32_t>(NumberValue(option, *text, 0, UINT32_MAX)) : 0;
}

ExitCode RunCreate(Run& run) {
    const std::string& archive = run.Operand(0);
    if (archive == "-") {
        throw Failure{ExitCode::Usage,
                      "an archive cannot be written to standard output; name a file"};
    }
    CreateOptions options;
    options.result = archive;
    options.replace = run.Has(kForce);
    options.dryRun = run.Has(kDryRun);
    options.compression = CompressionOf(run);
    options.buildVersion = NumberOf(run, kBuildVersion);
    options.productCode = NumberOf(run, kProductCode);
    options.threads = run.Jobs();
    options.changed = ChangeReporter(run);
    Inputs inputs(run, 1);
    const CreateResult created = inputs.Writer().Create(options, ProgressOf(run));
    ReportPlace(run, archive, created);
    run.answer.Last()
        .Set("members", created.members)
        .Set("content", created.contentSize)
        .Set("bytes", created.bytes);
    run.talk.Summary((options.dryRun ? "would write " : "") + Shown(archive) + ": " +
                     Counted(created.members, "member") + ", " + ShownBytes(created.contentSize) +
                     (options.dryRun ? "" : " in " + ShownBytes(created.bytes)));
    return ExitCode::Done;
}

}  // namespace

Command CreateCommand() {
    return {.words = "create",
            .summary = "make an archive from folders or files",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Takes the content of each folder, names relative to it, and files under their own "
                "names. The same members give the same archive, byte for byte: they lie in the "
                "byte order of their lower-case names, without times, and neither the order of "
                "PATHs nor the number of workers shows.\n"
                "\n"
                "Names that code page 1252 cannot hold, names that differ in letter case only, and "
                "files of 4 GiB or more are refused before the first byte is written. Links and "
                "devices are skipped, and the exit code is then 1. ARCHIVE appears when all of it "
                "was written and read back, or not at all; one that exists is replaced only with "
                "-f.\n",
            .examples = kExamples,
            .run = RunCreate};
}

}  // namespace va::tool
