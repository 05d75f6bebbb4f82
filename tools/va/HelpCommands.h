// The commands `va help` and `va version`.
#pragma once

#include <span>

#include "tools/va/Table.h"

namespace va::tool {

// Returns the commands help and version.
[[nodiscard]] std::span<const Command> HelpCommands();

}  // namespace va::tool
