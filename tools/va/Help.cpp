#include "tools/va/Help.h"

#include <algorithm>

#include "tools/va/Options.h"
#include "tools/va/ShownText.h"

namespace va::tool {
namespace {

constexpr std::size_t kMeaningColumn = 24;

// Returns "  left   meaning" with the meaning wrapped at its column; it begins on the next line if
// `left` is too long.
std::string Row(const std::string& left, std::string_view meaning,
                std::size_t column = kMeaningColumn) {
    std::string wrapped = Wrapped(meaning, column);
    if (left.size() + 4 > column) return "  " + left + "\n" + wrapped;
    return "  " + left + wrapped.substr(left.size() + 2);
}

std::string OptionLeft(const Option& option) {
    return (option.letter == 0 ? "    " : "") + OptionForms(option);
}

std::string CommandHelp(const Command& command) {
    std::string text = "usage: " + UsageLine(command) + "\n\n" + Wrapped(command.details, 0);
    if (!command.operands.empty()) text += "\n";
    for (const Operand& operand : command.operands) {
        text += Row(std::string(operand.name), operand.meaning);
    }
    text += "\noptions:\n\n";
    for (const Option* option : command.options) text += Row(OptionLeft(*option), option->meaning);
    for (const Option* option : CommonOptions()) text += Row(OptionLeft(*option), option->meaning);
    if (!command.examples.empty()) text += "\nexamples:\n\n";
    for (const std::string_view example : command.examples) {
        text.append("  ").append(example).append("\n");
    }
    return text;
}

// Returns the lines of the commands that begin with `word`, such as "tag"; empty if there are none.
std::string FamilyHelp(const std::string& word) {
    std::string text;
    for (const Command* command : AllCommands()) {
        if (command->words.starts_with(word + " ")) {
            text += Row("va " + std::string(command->words), command->summary);
        }
    }
    return text;
}

}  // namespace

std::string Wrapped(std::string_view text, std::size_t indent, std::size_t width) {
    std::string out;
    std::string line;
    const auto endLine = [&] {
        if (!line.empty()) out.append(indent, ' ').append(line).append("\n");
        line.clear();
    };
    while (!text.empty()) {
        const std::string_view source = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(source.size() + 1, text.size()));
        if (source.empty() || source.front() == ' ') {
            endLine();
            out.append(source.empty() ? 0 : indent, ' ').append(source).append("\n");
            continue;
        }
        for (std::size_t at = 0; at < source.size();) {
            const std::size_t end = std::min(source.find(' ', at), source.size());
            const std::string_view word = source.substr(at, end - at);
            if (!line.empty() && indent + line.size() + 1 + word.size() > width) endLine();
            if (!line.empty()) line += ' ';
            line += word;
            at = end + 1;
        }
    }
    endLine();
    return out;
}

std::string OptionForms(const Option& option) {
    std::string forms = option.letter == 0 ? "" : std::string("-") + option.letter + ", ";
    forms.append("--").append(option.name);
    if (!option.value.empty()) forms.append("=").append(option.value);
    return forms;
}

std::string UsageLine(const Command& command) {
    std::string text = "va " + std::string(command.words);
    if (!command.options.empty()) text += " [OPTION...]";
    for (const Operand& operand : command.operands) {
        text.append(operand.optional ? " [" : " ").append(operand.name);
        text.append(operand.repeats ? "..." : "").append(operand.optional ? "]" : "");
    }
    return text;
}

std::string OverviewHelp() {
    std::string text = "va: looks into asset archives, changes them, makes and applies patches\n";
    for (const Group& group : Groups()) {
        text.append("\n").append(group.heading).append("\n");
        for (const Command& command : group.commands) {
            text += Row(std::string(command.words), command.summary, 18);
        }
    }
    return text +
           "\n"
           "'va help COMMAND' explains a command, with examples.\n"
           "\n"
           "exit codes: 0 done, equal, whole; 1 done with something to look at, or they\n"
           "differ; 2 damaged, refused or not done; 7 wrong usage; 8 not enough memory;\n"
           "9 no such file, archive, member or tag; 50 the disk is full\n";
}

std::string HelpOn(std::span<const std::string> words) {
    if (words.empty()) return OverviewHelp();
    std::size_t used = 0;
    if (const Command* command = FindCommand(words, used)) return CommandHelp(*command);
    const std::string family = FamilyHelp(words.front());
    if (!family.empty()) {
        if (words.size() == 1) return family;
        throw Failure{ExitCode::Usage, "'va " + words.front() + "' has no command '" +
                                           Shown(words[1]) + "'; run 'va help " + words.front() +
                                           "' for a list"};
    }
    throw Failure{ExitCode::Usage,
                  "there is no command '" + Shown(words.front()) + "'; run 'va help' for a list"};
}

}  // namespace va::tool
