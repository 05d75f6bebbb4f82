// The commands on asset descriptions.
#pragma once

#include <span>

#include "tools/va/Table.h"

namespace va::tool {

[[nodiscard]] std::span<const Command> TagCommands();

}  // namespace va::tool
