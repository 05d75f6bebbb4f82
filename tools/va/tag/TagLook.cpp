#include "tools/va/tag/TagLook.h"

#include <array>
#include <string>
#include <string_view>

#include "assetdata/TagNotes.h"
#include "assetdata/TagWalk.h"
#include "tools/va/ShownText.h"
#include "tools/va/tag/TagConvert.h"
#include "tools/va/tag/TagFile.h"
#include "tools/va/tag/TagJson.h"
#include "tools/va/tag/TagJudge.h"
#include "tools/va/tag/TagPath.h"
#include "tools/va/tag/TagPrint.h"
#include "tools/va/tag/TagTable.h"

namespace va::tool {
namespace {

constexpr std::array<std::string_view, 2> kYesOrNo = {"yes", "no"};
constexpr Option kLosses{.name = "losses",
                         .value = "WHICH",
                         .meaning = "no: do not report losses of the other form (default: yes)",
                         .choices = kYesOrNo,
                         .completes = Completes::Choices};
constexpr Option kDefault{
    .name = "default", .value = "VALUE", .meaning = "print VALUE for a tag that is not there"};

ExitCode Print(Run& run) {
    const std::vector<Input> inputs = FindInputs(run, run.Operands());
    bool isFirst = true;
    return ForEachInput(run, inputs, [&](const Input& input) {
        FindingReport report(run, input.Name(), FindingReport::To::Talk, {.losses = false});
        const TagFile file = ReadTagFile(input, report);
        if (run.answer.IsJson()) {
            WriteTags(run.answer, input.Name(), {}, *file.root);
            return report.Code();
        }
        if (inputs.size() > 1) {
            run.answer.Write((isFirst ? "" : "\n") + Shown(input.Name()) + ":\n");
        }
        isFirst = false;
        PrintTree(run.answer, *file.root);
        return report.Code();
    });
}

std::size_t CountTags(const Vorn::OCSChunk& root) {
    std::size_t count = 0;
    for (Vorn::TagWalk walk(root); walk.Next();) count += walk.IsLeaving() ? 0 : 1;
    return count;
}

std::string CountedOrNone(std::size_t count, const std::string& what) {
    const std::string plural = what.ends_with("s") ? "es" : "s";
    return (count == 0 ? "no" : GroupedDigits(count)) + " " + what + (count == 1 ? "" : plural);
}

void WriteChecked(Run& run, const Input& input, const TagFile& file, const FindingReport& report) {
    const bool isText = file.form == TagForm::Text;
    if (run.answer.IsJson()) {
        JsonObject object("checked");
        object.Set("input", input.Name()).Set("form", isText ? "text" : "binary");
        object.Set("tags", std::uint64_t{CountTags(*file.root)});
        object.Set("warnings", std::uint64_t{report.Problems()});
        object.Set("notes", std::uint64_t{report.Notes()});
        if (report.HearsLosses()) object.Set("losses", std::uint64_t{report.Losses()});
        return run.answer.Write(object);
    }
    std::string line = Shown(input.Name()) + (isText ? ": text form, " : ": binary form, ") +
                       CountedOrNone(CountTags(*file.root), "tag") + ", " +
                       CountedOrNone(report.Problems(), "warning");
    if (report.Notes() > 0) line += ", " + CountedOrNone(report.Notes(), "note");
    if (report.HearsLosses()) {
        line += ", " + CountedOrNone(report.Losses(), "loss") +
                (isText ? " in the binary form" : " in the text form");
    }
    run.answer.Write(line + "\n");
}

ExitCode Check(Run& run) {
    Heard heard{.losses = run.Value(kLosses) != "no", .notes = true};
    Ignore(heard, run.Values(kIgnore));
    const std::vector<Input> inputs = FindInputs(run, run.Operands());
    std::size_t clean = 0;
    const ExitCode code = ForEachInput(run, inputs, [&](const Input& input) {
        FindingReport report(run, input.Name(), FindingReport::To::Answer, heard);
        const TagFile file = ReadTagFile(input, report);
        Vorn::FindTagNotes(*file.root, report);
        if (heard.losses) {
            const TagForm other = file.form == TagForm::Text ? TagForm::Binary : TagForm::Text;
            FindLosses(file, other, report);
            // Only the writer itself finds what cannot be written at all.
            if (other == TagForm::Binary) FindUnwritable(file, report);
        }
        report.Finish();
        WriteChecked(run, input, file, report);
        clean += report.Code() == ExitCode::Done ? 1 : 0;
        return report.Code();
    });
    run.answer.Last().Set("descriptions", std::uint64_t{inputs.size()});
    run.answer.Last().Set("clean", std::uint64_t{clean});
    if (inputs.size() > 1) {
        run.talk.Summary(Counted(inputs.size(), "description") + ", " + std::to_string(clean) +
                         " without findings");
    }
    return code;
}

// Prints the values of tags of one description. With `many`, the name of the description precedes
// each value.
class Getting {
public:
    Getting(Run& run, const Input& input, bool many)
        : run_(run), name_(input.Name()), many_(many), file_(ReadTagFile(input, held_)) {}

    [[nodiscard]] ExitCode Get(const std::string& path) {
        std::string missing;
        const Vorn::OCSChunkRef tag = FindTag(file_.root, path, missing);
        if (!tag) return GetMissing(path, missing);
        FindingReport report(run_, name_, FindingReport::To::Talk, {.losses = false});
        held_.Report(*tag, report);
        if (run_.answer.IsJson()) {
            WriteTagValue(run_.answer, name_, path, *tag);
        } else {
            if (many_) run_.answer.Write(Shown(name_) + "\t");
            PrintValue(run_.answer, *tag);
            if (many_ && tag->GetType() == Vorn::kTagNone) run_.answer.Write("\n");
        }
        return report.Code();
    }

private:
    [[nodiscard]] ExitCode GetMissing(const std::string& path, const std::string& missing) {
        const std::optional<std::string> value = run_.Value(kDefault);
        if (value && run_.answer.IsJson()) {
            run_.answer.Write(JsonObject("value")
                                  .Set("input", name_)
                                  .Set("path", path)
                                  .Set("kind", "default")
                                  .Set("text", *value));
        } else if (value) {
            run_.answer.Write((many_ ? Shown(name_) + "\t" : "") + *value + "\n");
        }
        if (value) return ExitCode::Done;
        // Report all findings: any of them may be the reason why the tag is missing.
        FindingReport report(run_, name_, FindingReport::To::Talk, {.losses = false});
        held_.ReportAll(report);
        report.Finish();
        throw BadInput{{ExitCode::NotFound, Shown(name_) + ": " + missing}};
    }

    Run& run_;
    const std::string name_;
    const bool many_;
    HeldFindings held_;
    TagFile file_;
};

ExitCode Get(Run& run) {
    const std::vector<Input> inputs = FindInputs(run, {run.Operand(0)});
    const std::span paths = std::span(run.Operands()).subspan(1);
    return ForEachInput(run, inputs, [&](const Input& input) {
        Getting getting(run, input, inputs.size() > 1);
        ExitCode code = ExitCode::Done;
        for (const std::string& path : paths) {
            if (getting.Get(path) != ExitCode::Done) code = ExitCode::LookAt;
        }
        return code;
    });
}

constexpr std::array kInputs = {kTagInputs};
constexpr Operand kPath{.name = "PATH",
                        .meaning = "names from the top down, joined by '/'; the first of equals",
                        .repeats = true,
                        .completes = Completes::Nothing};
constexpr std::array kInputAndPaths = {kTagInput, kPath};
constexpr std::array kPrintOptions = {&kJson, &kExclude};
constexpr std::array<const Option*, 4> kCheckOptions = {&kIgnore, &kLosses, &kJson, &kExclude};
constexpr std::array<const Option*, 3> kGetOptions = {&kDefault, &kJson, &kExclude};

constexpr std::array<std::string_view, 2> kPrintExamples = {"va tag print config.chump",
                                                            "va tag print Town.va:config.txt"};
constexpr std::array<std::string_view, 3> kCheckExamples = {
    "va tag check config.txt", "va tag check 'Town.va:trains/**'",
    "va tag check --losses=no --ignore=number-range assets/"};
constexpr std::array<std::string_view, 4> kGetExamples = {
    "va tag get config.txt username", "va tag get Town.va:config.txt thumbnails/0/image",
    "va tag get --default=0 config.txt mass built", "va tag get config.txt 'km\\/h/limit'"};

}  // namespace

Command TagPrintCommand() {
    return {.words = "tag print",
            .summary = "show all tags and their values",
            .operands = kInputs,
            .options = kPrintOptions,
            .details =
                "Shows every tag with its value, exactly: floats with all their digits, the first "
                "raw bytes in hex, control characters in texts as \\xNN. This is for reading; "
                "'va tag to-text' writes what programs read.\n",
            .examples = kPrintExamples,
            .run = Print};
}

Command TagCheckCommand() {
    return {.words = "tag check",
            .summary = "find faults, and losses of a conversion",
            .operands = kInputs,
            .options = kCheckOptions,
            .details =
                "Reports everything that a program would read differently from what is written, "
                "with line and column (text) or offset (binary); then legal tags that are probably "
                "a mistake (notes), and tags that the other form cannot represent (losses). The "
                "exit code is 0 when there is nothing to report, 2 when programs cannot read an IN "
                "at all.\n"
                "\n"
                "Notes are: a comma between digits as in 14,300, which makes a list; a number "
                "before a '}', which is read as a text; a line that begins like a comment, which "
                "is read as a tag; a name that occurs twice in a container.\n",
            .examples = kCheckExamples,
            .run = Check};
}

Command TagGetCommand() {
    return {.words = "tag get",
            .summary = "print the values of tags",
            .operands = kInputAndPaths,
            .options = kGetOptions,
            .details =
                "Prints a text as it is, numbers with ',' between them, raw bytes in hex, and a "
                "container as 'va tag print' does; nothing for a tag without a value. A name is "
                "found in any letter case, the exact one first. For a '/' in a name write '\\/', "
                "for a backslash '\\\\'.\n"
                "\n"
                "Only findings about these tags count. If IN is several descriptions, the name of "
                "each and a tab precede its values.\n",
            .examples = kGetExamples,
            .run = Get};
}

}  // namespace va::tool
