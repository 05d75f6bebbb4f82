#include "tools/va/Help.h"

#include <algorithm>
#include <iostream>

#include "services/BuildStamp.h"

namespace va {
namespace {

constexpr std::size_t kSummaryColumn = 37;
constexpr std::size_t kMeaningColumn = 11;

// "  left      right", the right side at `column` or behind a longer left one.
std::string Row(std::string left, std::size_t column, std::string_view right) {
    left.insert(0, "  ");
    left.append(std::max(left.size() + 2, column) - left.size(), ' ');
    return left.append(right).append("\n");
}

bool BelongsTo(const Command& command, const Family& family) {
    return command.words.starts_with(std::string(family.word) + " ");
}

std::string CommandHelp(const Command& command) {
    std::string text = "usage: " + UsageLine(command) + "\n\n" + std::string(command.details);
    if (!command.operands.empty() || !command.switches.empty()) text.append("\n");
    for (const auto arguments : {command.operands, command.switches}) {
        for (const Argument& argument : arguments) {
            text += Row(std::string(argument.name), kMeaningColumn, argument.meaning);
        }
    }
    if (!command.examples.empty()) text.append("\nexamples:\n\n").append(command.examples);
    return text;
}

std::string HelpOn(std::span<const std::string> words) {
    if (words.empty()) return OverviewHelp();
    const Command* command = FindCommand(words);
    if (command != nullptr && words.size() == Words(*command).size()) return CommandHelp(*command);
    for (const Family& family : Families()) {
        if (words.size() == 1 && family.word == words.front()) return FamilyHelp(family);
    }
    std::string asked;
    for (const std::string& word : words) asked.append(asked.empty() ? "" : " ").append(word);
    throw Failure{ExitCode::Usage, "there is no command '" + asked + "'; 'va help' lists them"};
}

}  // namespace

std::string UsageLine(const Command& command) {
    std::string text = "va " + std::string(command.words);
    for (const Argument& argument : command.switches) {
        text.append(" [").append(argument.name).append("]");
    }
    for (const Argument& argument : command.operands) {
        const bool repeats = command.lastRepeats && &argument == &command.operands.back();
        text.append(repeats ? " [" : " ").append(argument.name).append(repeats ? "...]" : "");
    }
    return text;
}

std::string FamilyHelp(const Family& family) {
    std::string text = std::string(family.word) + ": " + std::string(family.summary) + "\n";
    for (const Command& command : Commands()) {
        if (BelongsTo(command, family))
            text += Row(UsageLine(command), kSummaryColumn, command.summary);
    }
    return text;
}

std::string OverviewHelp() {
    std::string text = "va: the front program of the asset archives\n\n";
    for (const Command& command : Commands()) {
        if (Words(command).size() == 1)
            text += Row(UsageLine(command), kSummaryColumn, command.summary);
    }
    for (const Family& family : Families()) text += "\n" + FamilyHelp(family);
    return text +
           "\n"
           "'va help COMMAND' tells more of one, with examples; COMMAND is as above: tag check.\n"
           "\n"
           "exit codes: 0 done, 1 done with warnings, 2 damaged or refused, 7 wrong usage,\n"
           "9 not found\n";
}

ExitCode RunHelp(const Invocation& invocation) {
    std::cout << HelpOn(invocation.operands);
    return ExitCode::Done;
}

ExitCode RunVersion(const Invocation&) {
    std::cout << "va " VA_VERSION " (";
    if (Vorn::HasBuildStamp()) std::cout << Vorn::BuildStamp() << ", ";
    std::cout << "built " << Vorn::BuildDate() << ' ' << Vorn::BuildTime() << ")\n";
    return ExitCode::Done;
}

}  // namespace va
