// From the words of the command line to one command.
#pragma once

#include <span>
#include <string>

#include "tools/va/Commands.h"

namespace va {

// `arguments` without the program's name. Words that begin with "--" are switches wherever they
// stand, up to a "--" of its own. "--help" behind a command, the first word of some, or nothing
// stands for "help" before it. Throws Failure (Usage) for anything that the table does not allow.
[[nodiscard]] Invocation ParseCommandLine(std::span<const std::string> arguments);

}  // namespace va
