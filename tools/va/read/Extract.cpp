#include <array>

#include "tools/va/OutputFile.h"
#include "tools/va/ShownText.h"
#include "tools/va/Side.h"
#include "tools/va/read/ReadCommands.h"

namespace va::tool {
namespace {

constexpr Option kDirectory{.name = "directory",
                            .letter = 'C',
                            .value = "DIR",
                            .meaning = "write below DIR, which is created if it is missing",
                            .completes = Completes::Folders};
constexpr Option kStrip{
    .name = "strip", .value = "N", .meaning = "drop the first N folders of each name"};
constexpr Option kFlat{.name = "flat", .meaning = "drop all folders of each name"};
constexpr Option kMaxBytes{
    .name = "max-bytes", .value = "BYTES", .meaning = "refuse more content than that in all"};
constexpr Option kKeepGoing{
    .name = "keep-going", .letter = 'k', .meaning = "write the other members when one is damaged"};

constexpr Operand kOperands[] = {
    {.name = "ARCHIVE", .meaning = "an archive, or a folder", .completes = Completes::Archives},
    {.name = "PATTERN",
     .meaning = "members to extract; all of them without",
     .optional = true,
     .repeats = true,
     .completes = Completes::Members},
};
constexpr std::array kOptions = {&kDirectory, &kStrip,    &kFlat,    &kForce,
                                 &kKeepGoing, &kMaxBytes, &kExclude, &kFilesFrom,
                                 &kZero,      &kDryRun,   &kJobs,    &kJson};
constexpr std::array<std::string_view, 3> kExamples = {"va extract Town.va",
                                                       "va extract -C out Town.va textures",
                                                       "va extract --flat Town.va '**/*.tga'"};

void ReportPlaces(Run& run, const std::filesystem::path& folder, const ExtractResult& result) {
    const auto below = [&](const std::string& name) { return (folder / name).lexically_normal(); };
    std::vector<std::string> abandoned;
    for (const std::string& name : result.abandoned) abandoned.push_back(below(name).string());
    ReportAbandoned(run, abandoned);
    for (const std::string& name : result.replacedLinks) {
        ReportReplacedLink(run, below(name).string(), true);
    }
}

ExitCode RunExtract(Run& run) {
    constexpr std::uint64_t kMostFolders = 256;  // a stored name has at most 259 bytes
    const Archive archive = OpenSide(run, run.Operand(0));
    const Selection selection = SelectMembers(run, archive, 1);
    ExtractOptions options;
    options.folder = run.Value(kDirectory).value_or(".");
    if (const auto strip = run.Value(kStrip)) {
        options.strip = static_cast<unsigned>(NumberValue(kStrip, *strip, 0, kMostFolders));
    }
    options.flat = run.Has(kFlat);
    options.replace = run.Has(kForce);
    options.keepGoing = run.Has(kKeepGoing);
    options.dryRun = run.Has(kDryRun);
    if (const auto most = run.Value(kMaxBytes)) options.mostBytes = BytesValue(kMaxBytes, *most);
    options.threads = run.Jobs();
    const bool tellsEach = run.answer.IsJson() || run.talk.IsVerbose();
    if (tellsEach) {
        const std::filesystem::path folder = run.Value(kDirectory).value_or("");
        options.written = [&run, folder](const Member& member, const std::string& below) {
            const std::string path = (folder / below).generic_string();
            if (run.answer.IsJson()) {
                run.answer.Write(JsonObject("extracted")
                                     .SetName("name", member.Name(), member.StoredName())
                                     .Set("path", path)
                                     .Set("size", member.Size()));
            }
            run.talk.Detail(Shown(path));
        };
    }
    const ExtractResult result = Extract(archive, selection.Members(), options, ProgressOf(run));
    ReportPlaces(run, options.folder, result);
    for (const Error& failure : result.failures) run.talk.Error(Shown(failure.what()));
    run.answer.Last()
        .Set("files", result.files)
        .Set("bytes", result.bytes)
        .Set("failed", std::uint64_t{result.failures.size()});
    run.talk.Summary((options.dryRun ? "would write " : "") + Counted(result.files, "file") + ", " +
                     ShownBytes(result.bytes) + " to " + Shown(options.folder.string()));
    const bool mayLack = MayLackMembers(run, archive);
    return result.failures.empty() && !mayLack ? ExitCode::Done : ExitCode::LookAt;
}

}  // namespace

Command ExtractCommand() {
    return {.words = "extract",
            .summary = "write members to files",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Writes members to files below the current folder, or below DIR. Files that exist "
                "are not replaced without -f; they are found before the first byte is written. "
                "Every file appears whole "
                "or not at all, and nothing is written outside the folder or through a link.\n"
                "\n"
                "A damaged member ends the run with exit code 2; with --keep-going the others are "
                "written and the exit code is 1.\n",
            .examples = kExamples,
            .run = RunExtract};
}

}  // namespace va::tool
