// The command `va completion`: scripts for shells, and the candidates that they offer.
#pragma once

#include "tools/va/Table.h"

namespace va::tool {

[[nodiscard]] Command CompletionCommand();

}  // namespace va::tool
