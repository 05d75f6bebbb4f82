#include "tools/va/tag/TagFormat.h"

#include <algorithm>
#include <array>

#include "kernel/Paths.h"
#include "tools/va/OutputFile.h"
#include "tools/va/ShownText.h"
#include "tools/va/tag/EditPlace.h"
#include "tools/va/tag/SameTags.h"
#include "tools/va/tag/TagFile.h"
#include "tools/va/tag/TagTable.h"
#include "tools/va/tag/TextLayout.h"

namespace va::tool {
namespace {

constexpr Option kCheckOnly{
    .name = "check",
    .meaning = "write nothing; name the texts whose layout differs, and end with 1"};

// Collects the places of tags, and whether reading stopped before the end of the text.
class Reading final : public Vorn::TagObserver {
public:
    void OnFinding(const Vorn::TagFinding& finding) override {
        endsEarly |= finding.fault == Vorn::TagFault::StrayBrace ||
                     finding.fault == Vorn::TagFault::ZeroByte;
    }
    void OnTagEnd(const Vorn::OCSChunk& tag, const Vorn::TagExtent& extent) override {
        places.OnTagEnd(tag, extent);
    }

    TagPlaces places;
    bool endsEarly = false;
};

std::string Formatted(const Bytes& content, const std::string& name) {
    Reading reading;
    const TagFile file = ReadTags(content, name, reading);
    if (file.form != TagForm::Text) {
        RefuseInput("'" + Shown(name) +
                    "' is in the binary form; convert it with 'va tag to-text'");
    }
    // A text that reads differently afterwards is refused. One that ended early is refused as well:
    // the new layout would drop the unread rest.
    std::optional<std::string> text = TextLaidOut(TextOf(content), *file.root, reading.places);
    if (!text) RefuseInput("'" + Shown(name) + "' stays as it is: it is nested too deeply");
    TagPlaces places;
    const bool isSame =
        !reading.endsEarly && SameTags(*ReadTags(BytesOf(*text), name, places).root, *file.root);
    if (isSame) return std::move(*text);
    RefuseInput("'" + Shown(name) +
                "' stays as it is: it would read differently; run 'va tag check' to see what is "
                "wrong");
}

ExitCode Format(Run& run) {
    const std::optional<std::string> output = run.Value(kEditResult);
    std::vector<Input> inputs = FindInputs(run, run.Operands());
    // Skip binary descriptions that a folder selected; one that was named is refused instead.
    std::erase_if(inputs, [](const Input& input) {
        return input.IsSelected() && !Vorn::HasExtension(input.Name(), "txt");
    });
    const bool isCheck = run.Has(kCheckOnly);
    if (output && inputs.size() > 1) {
        throw Failure{ExitCode::Usage, "-o takes the result of one text, but there are " +
                                           std::to_string(inputs.size())};
    }
    // All destinations are checked before the first text is written.
    for (const Input& input : inputs) {
        if (!isCheck) CheckEditPlace(run, input, output.value_or(input.Name()));
    }
    std::size_t changed = 0;
    const ExitCode code = ForEachInput(run, inputs, [&](const Input& input) {
        const Bytes content = input.Read();
        const std::string text = Formatted(content, input.Name());
        const bool isSame = text == TextOf(content);
        changed += isSame ? 0 : 1;
        const std::string place = output.value_or(input.Name());
        if (!isSame && place != "-") run.answer.Write(Shown(input.Name()) + "\n");
        if (isCheck) return isSame ? ExitCode::Done : ExitCode::LookAt;
        WriteEdited(run, input, content, BytesOf(text), place);
        return ExitCode::Done;
    });
    run.talk.Summary(Counted(inputs.size(), "text") + ", " + std::to_string(changed) +
                     (isCheck ? " to format" : " formatted"));
    return code;
}

constexpr std::array kOperands = {kTagInputs};
constexpr std::array<const Option*, 5> kOptions = {&kCheckOnly, &kEditResult, &kForce, &kDryRun,
                                                   &kExclude};
constexpr std::array<std::string_view, 3> kExamples = {
    "va tag format config.txt", "va tag format --check assets/", "va tag format - < config.txt"};

}  // namespace

Command TagFormatCommand() {
    return {.words = "tag format",
            .summary = "lay out texts as programs write them",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Gives texts the indentation and columns that 'va tag to-text' writes. Names and "
                "values keep their bytes, lines that begin like comments keep their blanks, and "
                "the text keeps its line ends. Each result is read back first; a text that would "
                "read differently stays as it is, and the exit code is 2. Standard output lists "
                "the texts that change.\n"
                "\n"
                "Texts are replaced in one step; -o writes to another file, which must not exist "
                "without -f.\n",
            .examples = kExamples,
            .run = Format};
}

}  // namespace va::tool
