// The table of commands, operands and options, which the parser (Arguments.h), the help (Help.h)
// and the completion (Completion.h) read.
//
// Every object of the table is constant and lives as long as the program. Options are compared by
// address.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/va/ExitCode.h"

namespace va::tool {

class Run;

// The kind of completions that a shell offers for an operand or the value of an option.
enum class Completes { Nothing, Files, Folders, Archives, Patches, Members, Commands, Choices };

struct Option {
    std::string_view name;                        // without the dashes: "output"
    char letter = 0;                              // 'o' for -o; 0 for none
    std::string_view value{};                     // "FILE"; empty for a flag
    std::string_view meaning;                     // half a sentence, no full stop
    std::span<const std::string_view> choices{};  // the allowed values; empty if any is allowed
    bool repeats = false;                         // may be given several times
    Completes completes = Completes::Nothing;
};

struct Operand {
    std::string_view name;  // "ARCHIVE"
    std::string_view meaning;
    bool optional = false;
    bool repeats = false;  // only the last operand
    Completes completes = Completes::Files;
};

struct Command {
    std::string_view words;  // as typed after "va": "diff", "tag to-text"
    std::string_view summary;
    std::span<const Operand> operands;
    std::span<const Option* const> options;  // its own; kCommonOptions work everywhere
    std::string_view details;                // paragraphs, wrapped when printed
    std::span<const std::string_view> examples;
    ExitCode (*run)(Run& run);
};

// Commands under one heading of the overview.
struct Group {
    std::string_view heading;
    std::span<const Command> commands;
};

[[nodiscard]] std::span<const Group> Groups();

// Returns the options that every command takes.
[[nodiscard]] std::span<const Option* const> CommonOptions();

// Returns the command that the first of `words` name, or null. Sets `used` to their number.
[[nodiscard]] const Command* FindCommand(std::span<const std::string> words, std::size_t& used);

// Returns every command of the table, in its order.
[[nodiscard]] std::vector<const Command*> AllCommands();

}  // namespace va::tool
