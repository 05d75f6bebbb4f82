// Splits a command line that is given as one text.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace platform::shared {

// Splits at blanks. Double quotes group; 2n backslashes before a quote mean n, 2n + 1 mean n and a
// literal quote, and other backslashes are literal.
[[nodiscard]] std::vector<std::string> SplitArguments(std::string_view text);

struct CommandLine {
    std::string program;  // without quotes; empty if the line names none
    std::string_view arguments;
};

// Takes the program from the front of `line`: the quoted text if it begins with a quote, else the
// longest text that ends at a blank or the line's end, contains no argument that begins with a
// quote, and satisfies `isProgram`.
[[nodiscard]] CommandLine SplitProgram(std::string_view line,
                                       const std::function<bool(const std::string&)>& isProgram);

}  // namespace platform::shared
