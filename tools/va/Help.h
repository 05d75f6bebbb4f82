// Help out of the table: at most 80 columns, for a terminal and for pages.
#pragma once

#include <string>

#include "tools/va/Table.h"

namespace va::tool {

// Returns "va diff [OPTION...] OLD NEW"
[[nodiscard]] std::string UsageLine(const Command& command);

// Returns every command under its heading, and the exit codes.
[[nodiscard]] std::string OverviewHelp();

// Returns what `va help WORDS` prints: a command, or the commands of a family. Throws Failure
// (Usage) when there is neither.
[[nodiscard]] std::string HelpOn(std::span<const std::string> words);

// Returns `text` in lines of at most `width` columns, every line after `indent` blanks. A line that
// begins with a blank stays as it is; an empty line ends a paragraph.
[[nodiscard]] std::string Wrapped(std::string_view text, std::size_t indent,
                                  std::size_t width = 80);

}  // namespace va::tool
