#include "tools/va/tag/TagDiff.h"

#include <array>

#include "tools/va/ShownText.h"
#include "tools/va/tag/TagFile.h"
#include "tools/va/tag/TagJson.h"
#include "tools/va/tag/TagPrint.h"
#include "tools/va/tag/TagTable.h"
#include "tools/va/tag/TreeDiff.h"

namespace va::tool {
namespace {

// Paths are cut at this length: in a deep tree their total size grows with the square of the depth.
constexpr std::size_t kMostPath = 4096;

std::string ShownPath(const std::string& path) {
    if (path.empty()) return ".";
    if (path.size() <= kMostPath) return Shown(path);
    return "..." + Shown(std::string_view(path).substr(path.size() - kMostPath));
}

std::string ShownSide(const Vorn::OCSChunk& tag) {
    if (tag.GetType() == Vorn::kTagContainer) return "{ " + Counted(tag.ChildCount(), "tag") + " }";
    const std::string value = ShownValue(tag);
    return value.empty() ? "(no value)" : value;
}

TagFile ReadSide(Run& run, const std::string& operand) {
    const std::vector<Input> inputs = FindInputs(run, {operand});
    if (inputs.size() != 1) {
        throw Failure{ExitCode::Usage, "'" + Shown(operand) + "' gives " +
                                           Counted(inputs.size(), "description") +
                                           "; this command compares one with one"};
    }
    FindingReport report(run, inputs.front().Name(), FindingReport::To::Talk, {.losses = false});
    return ReadTagFile(inputs.front(), report);
}

struct KindName {
    char letter;
    const char* word;
};
constexpr std::array kKinds = {KindName{'A', "added"}, KindName{'D', "removed"},
                               KindName{'M', "changed"}, KindName{'O', "reordered"}};

void WriteText(Answer& answer, const TagDifference& difference) {
    std::string line(1, kKinds.at(static_cast<std::size_t>(difference.kind)).letter);
    line += "\t" + ShownPath(difference.path);
    if (difference.kind != TagDifference::Kind::Reordered) {
        for (const Vorn::OCSChunk* side : {difference.a, difference.b}) {
            if (side) line += "\t" + ShownSide(*side);
        }
    }
    answer.Write(line + "\n");
}

void WriteObject(Answer& answer, const TagDifference& difference) {
    JsonObject object("difference");
    object.Set("change", kKinds.at(static_cast<std::size_t>(difference.kind)).word);
    object.SetText(
        "path", difference.path.size() <= kMostPath ? difference.path : ShownPath(difference.path));
    if (difference.a) SetValue(object, *difference.a, "old_");
    if (difference.b) SetValue(object, *difference.b, "new_");
    answer.Write(object);
}

ExitCode Diff(Run& run) {
    const TagFile a = ReadSide(run, run.Operand(0));
    const TagFile b = ReadSide(run, run.Operand(1));
    std::array<std::uint64_t, kKinds.size()> counts{};
    const std::size_t same =
        DiffTags(a.root, b.root, a.form != b.form, [&](const TagDifference& difference) {
            ++counts.at(static_cast<std::size_t>(difference.kind));
            if (run.answer.IsJson()) {
                WriteObject(run.answer, difference);
            } else {
                WriteText(run.answer, difference);
            }
        });
    std::string summary = std::to_string(same) + " same";
    run.answer.Last().Set("same", std::uint64_t{same});
    bool isEqual = true;
    for (std::size_t kind = 0; kind < kKinds.size(); ++kind) {
        summary += ", " + std::to_string(counts[kind]) + " " + kKinds[kind].word;
        run.answer.Last().Set(kKinds[kind].word, counts[kind]);
        isEqual = isEqual && counts[kind] == 0;
    }
    run.talk.Summary(summary);
    return isEqual ? ExitCode::Done : ExitCode::LookAt;
}

constexpr Operand kOperands[] = {
    {.name = "A",
     .meaning = "a file, archive.va:member/path, or '-' for standard input",
     .completes = Completes::Members},
    {.name = "B", .meaning = "the same", .completes = Completes::Members}};
constexpr std::array kOptions = {&kJson};
constexpr std::array<std::string_view, 2> kExamples = {
    "va tag diff config.txt config.chump", "va tag diff Old.va:config.txt New.va:config.txt"};

}  // namespace

Command TagDiffCommand() {
    return {.words = "tag diff",
            .summary = "show the differences of two descriptions",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Compares the tags of A and B by their paths, in any form. Each line "
                "has a letter, the path and the values, with tabs between them: A added, D "
                "removed, M changed (old and new value), O a container whose tags are in another "
                "order. Of equal names the first is compared with the first, and so on. Between "
                "a text and the binary form names are compared as texts hold them.\n"
                "\n"
                "The exit code is 0 when both are equal, 1 when they differ.\n",
            .examples = kExamples,
            .run = Diff};
}

}  // namespace va::tool
