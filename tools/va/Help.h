// What va tells about itself, made from the table of commands.
#pragma once

#include <string>

#include "tools/va/Commands.h"

namespace va {

[[nodiscard]] std::string UsageLine(const Command& command);
[[nodiscard]] std::string OverviewHelp();
[[nodiscard]] std::string FamilyHelp(const Family& family);

// "help" with nothing, a family or a command behind it.
ExitCode RunHelp(const Invocation& invocation);
ExitCode RunVersion(const Invocation& invocation);

}  // namespace va
