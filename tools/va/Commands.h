// The commands of va: one table that both the parser of the command line and the help read.
#pragma once

#include <algorithm>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/va/Outcome.h"

namespace va {

struct Command;

// One command with what stood behind it on the command line.
struct Invocation {
    const Command* command = nullptr;
    std::vector<std::string> operands;
    std::vector<std::string_view> switches;

    [[nodiscard]] bool Has(std::string_view name) const {
        return std::ranges::find(switches, name) != switches.end();
    }
};

struct Argument {
    std::string_view name;  // "IN", or "--force" for a switch
    std::string_view meaning;
};

struct Command {
    std::string_view words;  // as typed behind "va": "tag to-text"
    std::span<const Argument> operands;
    std::span<const Argument> switches;
    bool lastRepeats;          // the last operand may be left out or given several times
    std::string_view summary;  // half a line
    std::string_view details;  // whole lines
    std::string_view examples;
    ExitCode (*run)(const Invocation& invocation);
};

// Commands that share their first word.
struct Family {
    std::string_view word;
    std::string_view summary;
};

[[nodiscard]] std::span<const Command> Commands();
[[nodiscard]] std::span<const Family> Families();

// The command that `arguments` begin with, or null.
[[nodiscard]] const Command* FindCommand(std::span<const std::string> arguments);

[[nodiscard]] std::vector<std::string> Words(const Command& command);

}  // namespace va
