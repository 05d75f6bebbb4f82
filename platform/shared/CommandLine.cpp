#include "platform/shared/CommandLine.h"

#include <algorithm>
#include <cstddef>

namespace platform::shared {
namespace {

constexpr std::string_view kBlanks = " \t";

// Takes one argument from the front of `text`, which does not begin with a blank.
std::string TakeArgument(std::string_view& text) {
    std::string argument;
    bool quoted = false;
    std::size_t at = 0;
    while (at < text.size() && (quoted || kBlanks.find(text[at]) == std::string_view::npos)) {
        const std::size_t end = std::min(text.find_first_not_of('\\', at), text.size());
        const std::size_t backslashes = end - at;
        const bool beforeQuote = end < text.size() && text[end] == '"';
        argument.append(beforeQuote ? backslashes / 2 : backslashes, '\\');
        at = end;
        if (beforeQuote && backslashes % 2 == 0) {
            quoted = !quoted;
            ++at;
        } else if (beforeQuote || backslashes == 0) {
            argument += text[at++];
        }
    }
    text.remove_prefix(at);
    return argument;
}

std::string_view SkipBlanks(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text;
}

}  // namespace

std::vector<std::string> SplitArguments(std::string_view text) {
    std::vector<std::string> arguments;
    for (text = SkipBlanks(text); !text.empty(); text = SkipBlanks(text)) {
        arguments.push_back(TakeArgument(text));
    }
    return arguments;
}

CommandLine SplitProgram(std::string_view line,
                         const std::function<bool(const std::string&)>& isProgram) {
    line = SkipBlanks(line);
    if (line.starts_with('"')) {
        line.remove_prefix(1);
        const std::size_t end = std::min(line.find('"'), line.size());
        return {.program = std::string(line.substr(0, end)),
                .arguments = line.substr(std::min(end + 1, line.size()))};
    }
    // A quote after a blank begins an argument, so the program's name ends before it.
    std::size_t end = line.size();
    for (std::size_t blank = line.find_first_of(kBlanks); blank != std::string_view::npos;
         blank = line.find_first_of(kBlanks, blank + 1)) {
        if (!line.substr(blank + 1).starts_with('"')) continue;
        end = blank;
        break;
    }
    // Longest first: the shortest match could run a program "C:/My" for "C:/My Tools/x.exe".
    for (; end != 0 && end != std::string_view::npos; end = line.find_last_of(kBlanks, end - 1)) {
        std::string program(line.substr(0, end));
        if (isProgram(program)) {
            return {.program = std::move(program), .arguments = line.substr(end)};
        }
    }
    return {};
}

}  // namespace platform::shared
