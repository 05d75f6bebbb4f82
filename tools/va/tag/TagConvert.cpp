#include "tools/va/tag/TagConvert.h"

#include <algorithm>
#include <array>
#include <unordered_set>

#include "archive/Names.h"
#include "assetdata/ChunkWriter.h"
#include "assetdata/TBuffer.h"
#include "assetdata/TagLosses.h"
#include "assetdata/TagText.h"
#include "platform/Directories.h"
#include "platform/Error.h"
#include "platform/FolderHandle.h"
#include "tools/va/OutputFile.h"
#include "tools/va/ShownText.h"
#include "tools/va/tag/TagTable.h"

namespace va::tool {
namespace {

// Returns the path of the output below --out-dir: the input's path, with the ending of the form.
std::string OutputOf(const Input& input, const std::string& folder, TagForm into) {
    if (input.Place().empty()) return {};  // does not exist; Input::Read reports it
    // Names come from archives, which may be hostile: an output must stay below the folder.
    if (const char* problem = archive::NameProblem(input.Place())) {
        Refuse("'" + Shown(input.Name()) + "' gives no safe name for a file below '" +
               Shown(folder) + "': it " + problem);
    }
    if (input.Name() == "-") {
        throw Failure{ExitCode::Usage,
                      "standard input has no name for a file below --out-dir; name OUT instead"};
    }
    const std::size_t dot = input.Place().rfind('.');
    return folder + "/" + input.Place().substr(0, dot) +
           (into == TagForm::Text ? ".txt" : ".chump");
}

// Creates the folders between `root` and the file `place`. Opens each one from its parent without
// following links, because a link could lead out of `root`.
void MakeFolders(const std::string& root, const std::string& place) {
    platform::FolderHandle folder;
    if (!platform::MakeDirectories(root.c_str()) || !folder.Open(root.c_str())) {
        Refuse("cannot make the folder '" + Shown(root) + "': " + platform::LastError().Message());
    }
    std::string_view rest = place;
    for (std::size_t slash = rest.find('/'); slash != rest.npos; slash = rest.find('/')) {
        platform::FolderHandle next;
        if (!next.OpenIn(folder, std::string(rest.substr(0, slash)), true)) {
            Refuse("cannot make the folder of '" + Shown(place) + "' in '" + Shown(root) +
                   "': a file or a link is in the way");
        }
        folder = std::move(next);
        rest.remove_prefix(slash + 1);
    }
}

struct Plan {
    std::vector<Input> inputs;
    std::vector<std::string> outputs;  // by index in inputs
};

Plan PlanFolder(Run& run, const std::string& folder, TagForm into) {
    Plan plan{FindInputs(run, run.Operands()), {}};
    std::unordered_set<std::string> taken;  // folded: some file systems ignore letter case
    std::vector<std::string> checked;
    for (const Input& input : plan.inputs) {
        const std::string output = OutputOf(input, folder, into);
        plan.outputs.push_back(output);
        if (output.empty()) continue;
        if (!taken.insert(archive::FoldName(output)).second) {
            Refuse("several inputs would become '" + Shown(output) + "', '" + Shown(input.Name()) +
                   "' is one of them; convert them one by one");
        }
        checked.push_back(output);
    }
    CheckOutputs(checked, run.Has(kForce), Folders::AreMade);
    return plan;
}

Plan PlanFile(Run& run, TagForm into) {
    const std::size_t count = run.Operands().size();
    if (count != 2) {
        throw Failure{ExitCode::Usage,
                      count < 2 ? "OUT is missing: a file, or '-' for standard output; or give "
                                  "--out-dir"
                                : "several inputs need --out-dir; without it the operands are IN "
                                  "and OUT"};
    }
    const std::string& output = run.Operand(1);
    CheckEnding(output, into);
    CheckOutputs({output}, run.Has(kForce));
    Plan plan{FindInputs(run, {run.Operand(0)}), {output}};
    if (plan.inputs.size() == 1) return plan;
    throw Failure{ExitCode::Usage, "'" + Shown(run.Operand(0)) + "' gives " +
                                       Counted(plan.inputs.size(), "input") +
                                       ", which need --out-dir"};
}

ExitCode Convert(Run& run, TagForm into) {
    Heard heard;
    Ignore(heard, run.Values(kIgnore));
    const std::optional<std::string> folder = run.Value(kOutputFolder);
    const Plan plan = folder ? PlanFolder(run, *folder, into) : PlanFile(run, into);
    std::size_t written = 0;
    const ExitCode code = ForEachInput(run, plan.inputs, [&](const Input& input) {
        const std::string& output =
            plan.outputs[static_cast<std::size_t>(&input - plan.inputs.data())];
        FindingReport report(run, input.Name(), FindingReport::To::Talk, heard);
        const TagFile file = ReadTagFile(input, report);
        FindLosses(file, into, report);
        const Bytes bytes = TagBytes(file, input.Name(), into, report);
        if (folder && !run.Has(kDryRun)) MakeFolders(*folder, output.substr(folder->size() + 1));
        WriteOutput(run, output, bytes, run.Has(kForce));
        run.talk.Detail(Shown(input.Name()) + " -> " + Shown(output));
        ++written;
        return report.Code();
    });
    if (folder) {
        run.talk.Summary(Shown(*folder) + "  " + Counted(written, "description") +
                         (run.Has(kDryRun) ? " would be written" : " written"));
    }
    return code;
}

constexpr Operand kOut{.name = "OUT",
                       .meaning =
                           "the file to write, or '-' for standard output; it appears whole or not "
                           "at all",
                       .optional = true,
                       .repeats = true};
constexpr std::array kOperands = {kTagInput, kOut};
constexpr std::array<const Option*, 5> kOptions = {&kForce, &kDryRun, &kOutputFolder, &kIgnore,
                                                   &kExclude};

constexpr std::array<std::string_view, 4> kToTextExamples = {
    "va tag to-text config.chump config.txt",
    "va tag to-text Town.va:trains/engine.chump engine.txt",
    "va tag to-text --out-dir=text 'Town.va:trains/**'",
    "va tag to-text -f config.chump config.txt"};
constexpr std::array<std::string_view, 3> kToBinaryExamples = {
    "va tag to-binary config.txt config.chump", "va tag to-binary --out-dir=build assets/",
    "va tag to-binary - - < config.txt > config.chump"};

}  // namespace

void FindLosses(const TagFile& file, TagForm into, FindingReport& report) {
    if (into == TagForm::Text) {
        Vorn::FindTextLosses(*file.root, report);
    } else {
        Vorn::FindChunkLosses(*file.root, report);
    }
}

void FindUnwritable(const TagFile& file, FindingReport& report) {
    Vorn::TBufferBlock block(1U << 16);
    Vorn::TBuffer nowhere(block);
    (void)Vorn::WriteChunkFile(*file.root, nowhere, &report);
}

Bytes TagBytes(const TagFile& file, const std::string& name, TagForm into, FindingReport& report) {
    Vorn::TBufferBlock block(1U << 16);
    Vorn::TBuffer stream(block);
    const bool written = into == TagForm::Text ? Vorn::WriteTagTextFile(*file.root, stream)
                                               : Vorn::WriteChunkFile(*file.root, stream, &report);
    if (!written) {
        report.Finish();
        RefuseInput("the tags of '" + Shown(name) + "' are not written: the " +
                    (into == TagForm::Text ? "text" : "binary") + " form cannot hold them at all");
    }
    const std::span<const std::byte> content = block.Content();
    return {content.begin(), content.end()};
}

Command TagToTextCommand() {
    return {.words = "tag to-text",
            .summary = "write asset descriptions in their text form",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Writes the tags of IN in the text form. IN may have either form: .txt is text, "
                ".chump, .cdp and .cdp2 are binary, and the first bytes decide about other names. "
                "With --out-dir every operand is an input, and so are the descriptions below a "
                "folder or that a pattern selects; each keeps its path.\n"
                "\n"
                "The text form has no raw bytes, no capital letters or blanks in names, and only "
                "six digits of a float. Every such loss is reported on standard error, one line "
                "each, and the exit code is then 1.\n",
            .examples = kToTextExamples,
            .run = [](Run& run) { return Convert(run, TagForm::Text); }};
}

Command TagToBinaryCommand() {
    return {.words = "tag to-binary",
            .summary = "write asset descriptions in their binary form",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Writes the tags of IN in the binary form, as version 1 of it (texts in UTF-8). IN "
                "may have either form, and --out-dir takes many, as for 'va tag to-text'.\n"
                "\n"
                "Names of a text lose their capital letters, and its floats the digits beyond "
                "about seven. Everything that is read differently from what is written in IN, and "
                "every loss, is reported on standard error, and the exit code is then 1. A name of "
                "more than 254 bytes cannot be stored in the binary form: nothing is written.\n",
            .examples = kToBinaryExamples,
            .run = [](Run& run) { return Convert(run, TagForm::Binary); }};
}

}  // namespace va::tool
