// The command 'va tag diff', which compares two descriptions.
#pragma once

#include "tools/va/Table.h"

namespace va::tool {

[[nodiscard]] Command TagDiffCommand();

}  // namespace va::tool
