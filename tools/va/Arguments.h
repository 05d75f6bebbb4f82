// Parses the words of a command line by the table of commands.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tools/va/Table.h"

namespace va::tool {

// The operands and options that a command was called with. A long option takes its value after '='
// or as the next word. Letters can be joined (-fv), and the value can follow the last one (-oFILE).
// Options may come anywhere, even before the command; "--" ends them. A word "-" is an operand.
class Arguments {
public:
    // Parses `words`, without the program's name. Throws Failure (Usage) for anything that the
    // table does not allow; the message suggests the nearest name. "--help" and "-h" select the
    // command `help` with the typed words as operands; "--version" selects `version`.
    explicit Arguments(std::span<const std::string> words);

    [[nodiscard]] const Command& GetCommand() const { return *command_; }
    [[nodiscard]] const std::vector<std::string>& Operands() const { return operands_; }

    // Returns how often a flag or option was given.
    [[nodiscard]] unsigned Count(const Option& option) const;
    [[nodiscard]] bool Has(const Option& option) const { return Count(option) > 0; }

    // Returns the value of an option, the last one if it was given several times.
    [[nodiscard]] std::optional<std::string> Value(const Option& option) const;
    [[nodiscard]] std::vector<std::string> Values(const Option& option) const;

private:
    struct Given {
        const Option* option;
        std::string value;
    };

    void ReadLong(std::string_view word, std::span<const std::string> words, std::size_t& next);
    void ReadLetters(std::string_view word, std::span<const std::string> words, std::size_t& next);
    void Take(const Option& option, std::string value);
    void ChooseCommand();
    void CheckOptions();
    void CheckOperands() const;

    const Command* command_ = nullptr;
    std::vector<std::string> operands_;
    std::vector<Given> given_;
    std::vector<std::string> typed_;  // by index in given_: the option as typed, for messages
};

// Returns an option's value as a number, such as that of -j 4. Throws Failure (Usage) unless it is
// a whole number from `least` to `most`.
[[nodiscard]] std::uint64_t NumberValue(const Option& option, const std::string& text,
                                        std::uint64_t least, std::uint64_t most);

// Returns a number of bytes: "65536", "64K", "1.5G"; K, M, G and T are powers of 1024. Throws
// Failure (Usage) for anything else.
[[nodiscard]] std::uint64_t BytesValue(const Option& option, const std::string& text);

}  // namespace va::tool
