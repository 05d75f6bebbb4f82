#include "tools/va/Commands.h"

#include <array>

#include "tools/va/Help.h"
#include "tools/va/TagCommands.h"

namespace va {
namespace {

constexpr Argument kIn = {"IN", "a file, or a member of an archive: archive.va:member/path"};
constexpr Argument kOut = {"OUT", "the file to write; it appears whole or not at all"};

constexpr std::array kHelpOperands = {Argument{"COMMAND", "a command, or the first word of some"}};
constexpr std::array kInput = {kIn};
constexpr std::array kInputAndOutput = {kIn, kOut};
constexpr std::array kInputAndPath = {
    kIn, Argument{"PATH", "names from the top down, joined by '/'; the first of equals"}};
constexpr std::array kForce = {Argument{"--force", "replace OUT if it exists"}};

constexpr std::array kCommands = {
    Command{
        .words = "help",
        .operands = kHelpOperands,
        .switches = {},
        .lastRepeats = true,
        .summary = "explain the commands, or one of them",
        .details = "Prints the commands; with a command behind it, how that one is used.\n",
        .examples = "  va help\n"
                    "  va help tag check\n",
        .run = RunHelp,
    },
    Command{
        .words = "--version",
        .operands = {},
        .switches = {},
        .lastRepeats = false,
        .summary = "tell the version",
        .details = "Prints the version and the build.\n",
        .examples = {},
        .run = RunVersion,
    },
    Command{
        .words = "tag to-text",
        .operands = kInputAndOutput,
        .switches = kForce,
        .lastRepeats = false,
        .summary = "write the text form",
        .details =
            "Writes the tags of IN in the text form. IN may have either form: .txt is text,\n"
            ".chump, .cdp and .cdp2 are binary, and the first bytes decide about other names.\n"
            "\n"
            "The text form has no raw bytes, no capital letters or blanks in names, and only\n"
            "six digits of a float. Whatever OUT does not hold as IN did is named on standard\n"
            "error, one line each, and the exit code is then 1.\n",
        .examples = "  va tag to-text config.chump config.txt\n"
                    "  va tag to-text Town.va:trains/engine.chump engine.txt\n"
                    "  va tag to-text --force config.chump config.txt\n",
        .run = TagToText,
    },
    Command{
        .words = "tag to-binary",
        .operands = kInputAndOutput,
        .switches = kForce,
        .lastRepeats = false,
        .summary = "write the binary form",
        .details =
            "Writes the tags of IN in the binary form, as version 1 of it (texts in UTF-8).\n"
            "IN may have either form, as for 'va tag to-text'.\n"
            "\n"
            "A text's names lose their capital letters, and its floats the digits beyond about\n"
            "seven. What was read otherwise than it stands in IN, and what OUT does not hold\n"
            "as IN did, is named on standard error, and the exit code is then 1. A name of\n"
            "more than 254 bytes has no place in the binary form: nothing is written.\n",
        .examples = "  va tag to-binary config.txt config.chump\n"
                    "  va tag to-binary Town.va:config.txt config.chump\n",
        .run = TagToBinary,
    },
    Command{
        .words = "tag print",
        .operands = kInput,
        .switches = {},
        .lastRepeats = false,
        .summary = "show all tags and their values",
        .details =
            "Shows every tag with its value, exactly: floats with all their digits, the first\n"
            "raw bytes in hex, control characters in texts as \\xNN. This is for reading;\n"
            "'va tag to-text' writes what programs read.\n",
        .examples = "  va tag print config.chump\n"
                    "  va tag print Town.va:config.txt\n",
        .run = TagPrint,
    },
    Command{
        .words = "tag check",
        .operands = kInput,
        .switches = {},
        .lastRepeats = false,
        .summary = "find faults, and what converting loses",
        .details =
            "Names everything that a program would read otherwise than it stands there, with\n"
            "line and column (text) or offset (binary), then what the other form could not\n"
            "hold, and sums up. Exit code 0 when there is nothing to name, 2 when programs\n"
            "can read nothing at all.\n",
        .examples = "  va tag check config.txt\n"
                    "  va tag check Town.va:trains/engine.chump\n",
        .run = TagCheck,
    },
    Command{
        .words = "tag get",
        .operands = kInputAndPath,
        .switches = {},
        .lastRepeats = false,
        .summary = "print the value of one tag",
        .details =
            "Prints a text as it is, numbers with ',' between them, raw bytes in hex, and a\n"
            "container as 'va tag print' does; nothing for a tag without a value. A name is\n"
            "found in any letter case, the exact one first. For a '/' in a name write '\\/',\n"
            "for a backslash '\\\\'.\n",
        .examples = "  va tag get config.txt username\n"
                    "  va tag get Town.va:config.txt thumbnails/0/image\n"
                    "  va tag get config.txt 'km\\/h/limit'\n",
        .run = TagGet,
    },
};

constexpr std::array kFamilies = {
    Family{"tag", "asset descriptions (tag databases) in their text and binary form"},
};

// The next word of `words`, which it is taken off.
std::string_view TakeWord(std::string_view& words) {
    const std::string_view word = words.substr(0, words.find(' '));
    words.remove_prefix(std::min(word.size() + 1, words.size()));
    return word;
}

bool BeginsWith(std::span<const std::string> arguments, std::string_view words) {
    for (const std::string& argument : arguments) {
        if (words.empty()) return true;
        if (TakeWord(words) != argument) return false;
    }
    return words.empty();
}

}  // namespace

std::span<const Command> Commands() { return kCommands; }
std::span<const Family> Families() { return kFamilies; }

std::vector<std::string> Words(const Command& command) {
    std::vector<std::string> words;
    for (std::string_view rest = command.words; !rest.empty();) words.emplace_back(TakeWord(rest));
    return words;
}

const Command* FindCommand(std::span<const std::string> arguments) {
    const auto found = std::ranges::find_if(
        kCommands, [&](const Command& command) { return BeginsWith(arguments, command.words); });
    return found == kCommands.end() ? nullptr : &*found;
}

}  // namespace va
