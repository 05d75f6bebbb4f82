// Help texts, generated from the table of commands: at most 80 columns wide.
#pragma once

#include <string>

#include "tools/va/Table.h"

namespace va::tool {

// Returns a line such as "va diff [OPTION...] OLD NEW".
[[nodiscard]] std::string UsageLine(const Command& command);

// Returns the forms of an option, such as "-o, --output=FILE".
[[nodiscard]] std::string OptionForms(const Option& option);

// Returns every command under its heading, and the exit codes.
[[nodiscard]] std::string OverviewHelp();

// Returns the output of `va help WORDS`: the help of a command, or the list of commands that begin
// with that word. Throws Failure (Usage) if there is neither.
[[nodiscard]] std::string HelpOn(std::span<const std::string> words);

// Returns `text` in lines of at most `width` columns, each indented by `indent` blanks. A line that
// begins with a blank is not wrapped; an empty line ends a paragraph.
[[nodiscard]] std::string Wrapped(std::string_view text, std::size_t indent,
                                  std::size_t width = 80);

}  // namespace va::tool
