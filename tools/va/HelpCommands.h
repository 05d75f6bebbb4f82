// The commands about va itself: `va help`, `va completion` and `va version`.
#pragma once

#include <span>

#include "tools/va/Table.h"

namespace va::tool {

// Returns these commands, in the order of the overview.
[[nodiscard]] std::span<const Command> HelpCommands();

}  // namespace va::tool
