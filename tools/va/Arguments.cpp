#include "tools/va/Arguments.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "tools/va/Help.h"
#include "tools/va/Nearest.h"
#include "tools/va/Options.h"
#include "tools/va/ShownText.h"

namespace va::tool {
namespace {

[[noreturn]] void RefuseUsage(const std::string& complaint, const Command* command = nullptr) {
    std::string message = complaint;
    if (command) {
        message += "\nusage: " + UsageLine(*command) + "\nrun 'va help " +
                   std::string(command->words) + "' for details";
    }
    throw Failure{ExitCode::Usage, message};
}

std::string Suggestion(std::string_view nearest, const std::string& otherwise) {
    return nearest.empty() ? otherwise : "did you mean " + std::string(nearest) + "?";
}

// Returns the options of all commands. Options that several commands share are repeated.
std::vector<const Option*> AllOptions() {
    std::vector<const Option*> options(CommonOptions().begin(), CommonOptions().end());
    for (const Command* command : AllCommands()) {
        options.insert(options.end(), command->options.begin(), command->options.end());
    }
    return options;
}

[[noreturn]] void RefuseCommand(const std::vector<std::string>& words) {
    std::vector<std::string_view> names;
    std::string family;
    for (const Command* command : AllCommands()) {
        const std::string_view first = command->words.substr(0, command->words.find(' '));
        // A first word such as "tag" is right; suggest its commands then, not other first words.
        if (first == words.front()) {
            family += "\n  va " + std::string(command->words);
            names.push_back(
                command->words.substr(std::min(first.size() + 1, command->words.size())));
        }
    }
    if (!family.empty()) {
        if (words.size() == 1) {
            RefuseUsage("'va " + words.front() + "' needs one of its commands:" + family);
        }
        RefuseUsage("'va " + words.front() + "' has no command '" + Shown(words[1]) + "'; " +
                    Suggestion(Nearest(words[1], names), "it has:" + family));
    }
    for (const Command* command : AllCommands()) {
        names.push_back(command->words.substr(0, command->words.find(' ')));
    }
    RefuseUsage("there is no command '" + Shown(words.front()) + "'; " +
                Suggestion(Nearest(words.front(), names), "run 'va help' for a list"));
}

}  // namespace

Arguments::Arguments(std::span<const std::string> words) {
    for (std::size_t next = 0; next < words.size();) {
        const std::string& word = words[next++];
        if (word == "--") {
            operands_.insert(operands_.end(), words.begin() + static_cast<std::ptrdiff_t>(next),
                             words.end());
            break;
        }
        if (word.starts_with("--")) {
            ReadLong(word, words, next);
        } else if (word.size() > 1 && word.front() == '-') {
            ReadLetters(word, words, next);
        } else {
            operands_.push_back(word);
        }
    }
    ChooseCommand();
    CheckOptions();
    CheckOperands();
}

// Options may precede the command, so they are read before it is known. This works because options
// of the same name take a value in all commands or in none.
void Arguments::ReadLong(std::string_view word, std::span<const std::string> words,
                         std::size_t& next) {
    const std::size_t equals = word.find('=');
    const std::string_view name = word.substr(2, equals == word.npos ? word.npos : equals - 2);
    const std::vector<const Option*> options = AllOptions();
    const auto found = std::ranges::find(options, name, &Option::name);
    if (found == options.end()) {
        std::vector<std::string_view> names;
        for (const Option* option : options) names.push_back(option->name);
        const std::string_view nearest = Nearest(name, names);
        RefuseUsage("there is no option '--" + Shown(name) + "'; " +
                    (nearest.empty() ? "a name that begins with '-' goes after '--'"
                                     : "did you mean --" + std::string(nearest) + "?"));
    }
    typed_.push_back("--" + std::string(name));
    if ((*found)->value.empty()) {
        if (equals != word.npos) RefuseUsage("--" + std::string(name) + " takes no value");
        Take(**found, {});
    } else if (equals != word.npos) {
        Take(**found, std::string(word.substr(equals + 1)));
    } else if (next < words.size()) {
        Take(**found, words[next++]);
    } else {
        RefuseUsage("--" + std::string(name) + " needs a value: " + std::string((*found)->value));
    }
}

void Arguments::ReadLetters(std::string_view word, std::span<const std::string> words,
                            std::size_t& next) {
    const std::vector<const Option*> options = AllOptions();
    for (std::size_t i = 1; i < word.size(); ++i) {
        const auto found = std::ranges::find(options, word[i], &Option::letter);
        if (found == options.end()) {
            RefuseUsage("there is no option '-" + Shown(word.substr(i, 1)) +
                        "'; a name that begins with '-' goes after '--'");
        }
        typed_.push_back(std::string("-") + word[i]);
        if ((*found)->value.empty()) {
            Take(**found, {});
            continue;
        }
        if (i + 1 < word.size()) {
            Take(**found, std::string(word.substr(i + 1)));
        } else if (next < words.size()) {
            Take(**found, words[next++]);
        } else {
            RefuseUsage("-" + std::string(1, word[i]) +
                        " needs a value: " + std::string((*found)->value));
        }
        return;
    }
}

void Arguments::Take(const Option& option, std::string value) {
    if (!option.choices.empty() &&
        std::ranges::find(option.choices, value) == option.choices.end()) {
        std::string allowed;
        for (const std::string_view choice : option.choices) {
            allowed.append(allowed.empty() ? "" : ", ").append(choice);
        }
        RefuseUsage(typed_.back() + " takes one of " + allowed + ", not '" + Shown(value) + "'");
    }
    given_.push_back({&option, std::move(value)});
}

void Arguments::ChooseCommand() {
    const auto named = [](std::string_view words) {
        std::size_t used = 0;
        const std::string word(words);
        return FindCommand({&word, 1}, used);
    };
    // First, so that --help works on a line without a valid command or operands. Other options are
    // dropped because `help` does not have them.
    if (Has(kHelp)) {
        command_ = named("help");
        std::erase_if(given_, [](const Given& given) { return given.option != &kHelp; });
        return;
    }
    if (operands_.empty() && !Has(kVersion)) {
        RefuseUsage("no command given\n\n" + OverviewHelp());
    }
    std::size_t used = 0;
    if (!operands_.empty()) {
        command_ = FindCommand(operands_, used);
        if (!command_) RefuseCommand(operands_);
    }
    // The same for --version, whose page every command has; a wrong command is still named.
    if (Has(kVersion)) {
        command_ = named("version");
        operands_.clear();
        std::erase_if(given_, [](const Given& given) { return given.option != &kVersion; });
        return;
    }
    operands_.erase(operands_.begin(), operands_.begin() + static_cast<std::ptrdiff_t>(used));
}

// Replaces each option by the command's own object of the same name: a command may give a shared
// name its own meaning, and Has() compares addresses.
void Arguments::CheckOptions() {
    const auto allows = [&](std::span<const Option* const> options, const Option* option) {
        return std::ranges::find(options, option) != options.end();
    };
    for (std::size_t i = 0; i < given_.size(); ++i) {
        const Option*& option = given_[i].option;
        const auto own = std::ranges::find(command_->options, option->name, &Option::name);
        if (own != command_->options.end()) option = *own;
        if (allows(CommonOptions(), option)) continue;
        if (!allows(command_->options, option)) {
            RefuseUsage("'va " + std::string(command_->words) + "' has no option " + typed_[i],
                        command_);
        }
        if (!option->repeats && Count(*option) > 1 && !option->value.empty()) {
            RefuseUsage("--" + std::string(option->name) + " is given twice", command_);
        }
    }
}

void Arguments::CheckOperands() const {
    std::size_t least = 0;
    for (const Operand& operand : command_->operands) least += operand.optional ? 0 : 1;
    if (operands_.size() < least) {
        RefuseUsage(std::string(command_->operands[operands_.size()].name) + " is missing",
                    command_);
    }
    const bool endless = !command_->operands.empty() && command_->operands.back().repeats;
    if (!endless && operands_.size() > command_->operands.size()) {
        RefuseUsage("'" + Shown(operands_[command_->operands.size()]) + "' is one operand too many",
                    command_);
    }
}

unsigned Arguments::Count(const Option& option) const {
    return static_cast<unsigned>(std::ranges::count(given_, &option, &Given::option));
}

std::optional<std::string> Arguments::Value(const Option& option) const {
    std::vector<std::string> values = Values(option);
    if (values.empty()) return std::nullopt;
    return std::move(values.back());
}

std::vector<std::string> Arguments::Values(const Option& option) const {
    std::vector<std::string> values;
    for (const Given& given : given_) {
        if (given.option == &option) values.push_back(given.value);
    }
    return values;
}

std::uint64_t NumberValue(const Option& option, const std::string& text, std::uint64_t least,
                          std::uint64_t most) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size() || number < least ||
        number > most) {
        RefuseUsage("--" + std::string(option.name) + " takes a whole number from " +
                    std::to_string(least) + " to " + std::to_string(most) + ", not '" +
                    Shown(text) + "'");
    }
    return number;
}

std::uint64_t BytesValue(const Option& option, const std::string& text) {
    double number = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
    std::string_view unit(end, static_cast<std::size_t>(text.data() + text.size() - end));
    // Accepts "64M", "64MB" and "64MiB", since users write all three.
    if (unit.ends_with('B')) unit.remove_suffix(1);
    if (unit.ends_with('i')) unit.remove_suffix(1);
    constexpr std::string_view kUnits = "KMGT";
    const std::size_t power =
        unit.size() == 1 ? kUnits.find(static_cast<char>(unit[0] & ~0x20)) + 1 : 0;
    const double bytes = number * std::pow(1024.0, static_cast<double>(power));
    // 9e18 is below 2^63; the negated comparison refuses NaN as well.
    if (error != std::errc{} || number < 0 || unit.size() > 1 || (unit.size() == 1 && power == 0) ||
        !(bytes < 9e18)) {
        RefuseUsage("--" + std::string(option.name) +
                    " takes a number of bytes such as 65536, 64M or 2G, not '" + Shown(text) + "'");
    }
    return static_cast<std::uint64_t>(bytes);
}

}  // namespace va::tool
