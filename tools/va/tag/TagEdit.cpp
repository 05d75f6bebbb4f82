#include "tools/va/tag/TagEdit.h"

#include <algorithm>
#include <array>

#include "assetdata/TDBContainerTag.h"
#include "assetdata/TDBDataTag.h"
#include "kernel/LetterCase.h"
#include "platform/CodePage.h"
#include "tools/va/ShownText.h"
#include "tools/va/tag/EditPlace.h"
#include "tools/va/tag/NewValue.h"
#include "tools/va/tag/SameTags.h"
#include "tools/va/tag/TagConvert.h"
#include "tools/va/tag/TagPath.h"
#include "tools/va/tag/TagPrint.h"
#include "tools/va/tag/TagTable.h"
#include "tools/va/tag/TextEdit.h"

namespace va::tool {
namespace {

// Returns a copy of the container with one child replaced by `by`, or removed if `by` is null. If
// `index` is the number of children, `by` is added.
Vorn::OCSChunkRef WithChild(const Vorn::OCSChunk& container, std::uint32_t index,
                            const std::string& name, const Vorn::OCSChunkRef& by) {
    Vorn::OCSChunkRef changed = Vorn::NewTag(Vorn::kTagContainer);
    const std::uint32_t count = container.ChildCount();
    for (std::uint32_t i = 0; i < count; ++i) {
        changed->AddChild(container.ChildName(i), i == index ? by : container.ChildAt(i).child);
    }
    if (index == count) changed->AddChild(Vorn::Intern(name), by);
    return changed;
}

// Changes one tag of one description. The constructor reads the description and finds the tag; it
// checks the destination first, before any work.
class Editing {
public:
    explicit Editing(Run& run) : run_(run), input_(OneInput(run)) {
        output_ = run.Value(kEditResult).value_or(input_.Name());
        CheckEditPlace(run, input_, output_);
        content_ = input_.Read();
        file_ = ReadTags(content_, input_.Name(), places_);
        names_ = SplitPath(run.Operand(1));
        if (names_.empty()) throw Failure{ExitCode::Usage, "PATH names no tag"};
        containers_.push_back({file_.root, 0});
        for (std::size_t i = 0; i < names_.size(); ++i) {
            Level& level = containers_.back();
            level.index = FindIndex(*level.container, names_[i]);
            tag_ = level.container->ChildAt(level.index).child;
            if (i + 1 == names_.size()) break;
            if (!tag_) ReportMissing();
            containers_.push_back({tag_, 0});
        }
    }

    [[nodiscard]] ExitCode Set(const std::string& typed, const std::string& type) {
        if (tag_ && tag_->GetType() == Vorn::kTagContainer) {
            Refuse("'" + Path() + "' in '" + Shown(input_.Name()) +
                   "' is a container; set a tag in it, or remove it first");
        }
        if (Parent().GetType() != Vorn::kTagContainer) {
            Refuse("the tag around '" + Path() + "' is not a container and cannot hold tags");
        }
        const NewValue value = ReadNewValue(typed, type, tag_.Get());
        std::vector<std::string> texts;
        if (IsText()) texts = tag_ ? ChangedTexts(value) : TextsWithNew(value);
        const std::string old = tag_ ? ShownValue(*tag_) : "";
        const Vorn::OCSChunkRef tag(new Vorn::TDBDataTag(value.type, value.data));
        Replace(tag);
        return Finish(texts, (tag_ ? old + " -> " : "new ") + ShownValue(*tag));
    }

    [[nodiscard]] ExitCode Remove() {
        if (!tag_) ReportMissing();
        std::vector<std::string> texts;
        if (IsText()) texts = {TextWithoutTag(TextOf(content_), *places_.Find(tag_.Get()))};
        Replace({});
        return Finish(texts, "removed");
    }

private:
    // A container on the path to the tag, and the index of its child on that path.
    struct Level {
        Vorn::OCSChunkRef container;
        std::uint32_t index;
    };

    static Input OneInput(Run& run) {
        std::vector<Input> inputs = FindInputs(run, {run.Operand(0)});
        if (inputs.size() == 1) return inputs.front();
        throw Failure{ExitCode::Usage, "'" + Shown(run.Operand(0)) + "' gives " +
                                           Counted(inputs.size(), "description") +
                                           "; this command changes one"};
    }

    [[noreturn]] void ReportMissing() const {
        std::string missing;
        (void)FindTag(file_.root, run_.Operand(1), missing);
        throw Failure{ExitCode::NotFound, Shown(input_.Name()) + ": " + missing};
    }

    // Replaces the tag by rebuilding all containers around it, because those of a binary file do
    // not keep the order of their children when changed.
    void Replace(Vorn::OCSChunkRef by) {
        for (std::size_t i = containers_.size(); i-- > 0;) {
            by = WithChild(*containers_[i].container, containers_[i].index, NewName(), by);
        }
        file_.root = by;
    }

    [[nodiscard]] const Vorn::OCSChunk& Parent() const { return *containers_.back().container; }
    [[nodiscard]] bool IsText() const { return file_.form == TagForm::Text; }
    [[nodiscard]] std::string Path() const { return Shown(run_.Operand(1)); }

    // Returns the name for a new tag. Names in a text have no capital letters.
    [[nodiscard]] std::string NewName() const {
        std::string name = names_.back();
        if (IsText()) std::ranges::transform(name, name.begin(), Vorn::AsciiToLower);
        return name;
    }

    // Returns the value in the encoding of the text: UTF-8 if it has the mark, else code page 1252.
    [[nodiscard]] std::string Written(const NewValue& value) const {
        const bool isUtf8 = TextOf(content_).starts_with("\xEF\xBB\xBF");
        return isUtf8 ? value.written : platform::Utf8ToAnsi(value.written);
    }

    [[nodiscard]] std::vector<std::string> ChangedTexts(const NewValue& value) const {
        return TextsWithValue(TextOf(content_), *places_.Find(tag_.Get()), Written(value));
    }

    [[nodiscard]] std::vector<std::string> TextsWithNew(const NewValue& value) const {
        const std::uint32_t count = Parent().ChildCount();
        const Vorn::TagExtent* last =
            count > 0 ? places_.Find(Parent().ChildAt(count - 1).child.Get()) : nullptr;
        return {TextWithTag(TextOf(content_), places_.Find(&Parent()), last, NewName(),
                            Written(value))};
    }

    // Writes the changed tree. For a text, writes the first of `texts` that reads back as that
    // tree: an edit of text can change its neighbours, and only reading it again proves that it did
    // not.
    [[nodiscard]] ExitCode Finish(const std::vector<std::string>& texts, const std::string& what) {
        FindingReport report(run_, input_.Name(), FindingReport::To::Talk, {.losses = false});
        Bytes result;
        if (IsText()) {
            const auto holds = [&](const std::string& text) {
                TagPlaces places;
                return SameTags(*ReadTags(BytesOf(text), input_.Name(), places).root, *file_.root);
            };
            const auto found = std::ranges::find_if(texts, holds);
            if (found == texts.end()) {
                Refuse("'" + Shown(input_.Name()) + "' stays as it is: this text cannot hold '" +
                       Path() + "' like that, or another tag would read differently");
            }
            result = BytesOf(*found);
        } else {
            result = TagBytes(file_, input_.Name(), TagForm::Binary, report);
        }
        run_.talk.Summary(Shown(output_) + ": " + Path() + " " + what);
        WriteEdited(run_, input_, content_, result, output_);
        return report.Code();
    }

    Run& run_;
    Input input_;
    std::string output_;
    Bytes content_;
    TagPlaces places_;
    TagFile file_;
    std::vector<std::string> names_;
    std::vector<Level> containers_;  // outermost first
    Vorn::OCSChunkRef tag_;          // null if there is none
};

constexpr std::array<std::string_view, 6> kTypes = {"auto", "integer", "float",
                                                    "text", "kuid",    "none"};
constexpr Option kType{.name = "type",
                       .value = "TYPE",
                       .meaning =
                           "auto (default): as a text would read VALUE, but a text stays a text "
                           "and a float a float; or integer, float, text, kuid, none",
                       .choices = kTypes,
                       .completes = Completes::Choices};
constexpr Operand kOne{.name = "IN",
                       .meaning = "a file, '-' for standard input, or with -o archive.va:member",
                       .completes = Completes::Members};
constexpr Operand kPath{.name = "PATH",
                        .meaning = "names from the top down, joined by '/'; the first of equals",
                        .completes = Completes::Nothing};
constexpr Operand kValue{.name = "VALUE", .meaning = "the value", .completes = Completes::Nothing};
constexpr std::array kSetOperands = {kOne, kPath, kValue};
constexpr std::array kRemoveOperands = {kOne, kPath};
constexpr std::array<const Option*, 4> kSetOptions = {&kType, &kEditResult, &kForce, &kDryRun};
constexpr std::array<const Option*, 3> kRemoveOptions = {&kEditResult, &kForce, &kDryRun};
constexpr std::array<std::string_view, 3> kSetExamples = {
    "va tag set config.txt mass 14300.5", "va tag set --type=text config.txt build 7",
    "va tag set -o - Town.va:config.txt engine/power 20"};
constexpr std::array<std::string_view, 1> kRemoveExamples = {"va tag remove config.txt mesh-table"};

}  // namespace

Command TagSetCommand() {
    return {.words = "tag set",
            .summary = "change or add one value",
            .operands = kSetOperands,
            .options = kSetOptions,
            .details =
                "Gives one tag of IN a value; a missing tag is added at the end of its container. "
                "Every other byte of a text stays as it is, and the result is read back before it "
                "is written: if the text cannot hold the value there, or another tag would read "
                "differently, IN stays as it is and the exit code is 2.\n"
                "\n"
                "Put a VALUE that begins with '-' after '--'. IN is replaced in one step; -o "
                "writes to another file, which must not exist without -f. A binary IN is rewritten "
                "as version 1 of that form.\n",
            .examples = kSetExamples,
            .run = [](Run& run) {
                return Editing(run).Set(run.Operand(2), run.Value(kType).value_or("auto"));
            }};
}

Command TagRemoveCommand() {
    return {.words = "tag remove",
            .summary = "remove one tag",
            .operands = kRemoveOperands,
            .options = kRemoveOptions,
            .details =
                "Removes one tag of IN, a container with all that it holds. Every other byte of a "
                "text stays as it is, as for 'va tag set'.\n",
            .examples = kRemoveExamples,
            .run = [](Run& run) { return Editing(run).Remove(); }};
}

}  // namespace va::tool
