// Taking a command line in one text apart.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace platform::posix {

// Blanks separate, double quotes group; 2n backslashes before a quote stand for n, 2n + 1 for n
// and a literal quote, and other backslashes for themselves.
[[nodiscard]] std::vector<std::string> SplitArguments(std::string_view text);

struct CommandLine {
    std::string program;  // without quotes; empty when the line names none
    std::string_view arguments;
};

// Takes the program from the front of `line`: the text in quotes when it begins with one, else the
// longest text that ends at a blank or the line's end, holds no argument that begins with a quote,
// and for which `isProgram` is true.
[[nodiscard]] CommandLine SplitProgram(std::string_view line,
                                       const std::function<bool(const std::string&)>& isProgram);

}  // namespace platform::posix
