// The converter's output. Standard output carries the fixed lines (FixedLines.h), each visible at
// once even when it is redirected; anything else a person may want to know goes to standard error.
#pragma once

#include <string_view>

namespace converter {

// What to do when memory runs out.
inline constexpr std::string_view kMoreMemory =
    "close other programs or raise the memory limit, then try again";

// Prints a line of standard output: `text`, and the name that it ends in.
void PrintLine(std::string_view text, std::string_view name = {});

// The same for a step that fails with it: returns false.
[[nodiscard]] bool Fail(std::string_view text, std::string_view name);

// Prints a line, and the name that it ends in, in double quotes.
void PrintQuoted(std::string_view text, std::string_view name);

// Returns false if any line of standard output could not be printed so far.
[[nodiscard]] bool AllLinesPrinted();

// Prints a line of standard error, after "VAConverter: ".
void PrintProblem(std::string_view text);

// Prints on standard error how to call the program, which the fixed lines do not.
void PrintUsageHint();

}  // namespace converter
