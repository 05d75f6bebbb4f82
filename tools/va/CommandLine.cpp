#include "tools/va/CommandLine.h"

#include <utility>
#include <vector>

#include "tools/va/Help.h"

namespace va {
namespace {

[[noreturn]] void Refuse(const Command& command, const std::string& complaint) {
    throw Failure{ExitCode::Usage, complaint + "\nusage: " + UsageLine(command) + "\n'va help " +
                                       std::string(command.words) + "' tells more"};
}

[[noreturn]] void RefuseUnknown(std::span<const std::string> arguments) {
    const std::string& word = arguments.front();
    for (const Family& family : Families()) {
        if (family.word != word) continue;
        const std::string complaint =
            arguments.size() == 1 ? "'va " + word + "' needs a command behind it"
                                  : "'va " + word + "' has no command '" + arguments[1] + "'";
        throw Failure{ExitCode::Usage, complaint + "\n" + FamilyHelp(family)};
    }
    throw Failure{ExitCode::Usage, "there is no command '" + word + "'; 'va help' lists them"};
}

void AddSwitch(Invocation& invocation, std::string_view word) {
    for (const Argument& known : invocation.command->switches) {
        if (known.name != word) continue;
        invocation.switches.push_back(known.name);
        return;
    }
    Refuse(*invocation.command, "there is no switch '" + std::string(word) +
                                    "' here; a name that begins with '--' goes behind '--'");
}

Invocation HelpOn(std::vector<std::string> words) {
    const std::vector<std::string> help = {"help"};
    return {.command = FindCommand(help), .operands = std::move(words), .switches = {}};
}

void CheckOperands(const Invocation& invocation) {
    const Command& command = *invocation.command;
    const std::size_t count = invocation.operands.size();
    const std::size_t most = command.operands.size();
    if (command.lastRepeats ? count + 1 < most : count < most) {
        Refuse(command, std::string(command.operands[count].name) + " is missing");
    }
    if (count > most && !command.lastRepeats) {
        Refuse(command, "'" + invocation.operands[most] + "' is one operand too many");
    }
}

}  // namespace

Invocation ParseCommandLine(std::span<const std::string> arguments) {
    if (arguments.empty()) throw Failure{ExitCode::Usage, "what to do?\n" + OverviewHelp()};
    Invocation invocation{.command = FindCommand(arguments), .operands = {}, .switches = {}};
    if (invocation.command == nullptr) {
        if (arguments.back() != "--help") RefuseUnknown(arguments);
        return HelpOn({arguments.begin(), arguments.end() - 1});
    }
    bool switchesEnded = false;
    for (const std::string& word : arguments.subspan(Words(*invocation.command).size())) {
        if (switchesEnded || !word.starts_with("--")) {
            invocation.operands.push_back(word);
        } else if (word == "--") {
            switchesEnded = true;
        } else if (word == "--help") {
            return HelpOn(Words(*invocation.command));
        } else {
            AddSwitch(invocation, word);
        }
    }
    CheckOperands(invocation);
    return invocation;
}

}  // namespace va
