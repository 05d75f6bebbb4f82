// What the converter says. Standard output carries the fixed lines, each visible at once even when
// it is redirected; anything else a person may want to know goes to standard error.
#pragma once

#include <string_view>

// A line of standard output.
void PrintLine(std::string_view text);

// False, after a line on standard error, if any line of standard output could not be printed.
[[nodiscard]] bool AllLinesPrinted();

// A line of standard error, after "VAConverter: ".
void PrintProblem(std::string_view text);

// How to call the program, on standard error: the fixed lines do not tell.
void PrintUsageHint();
