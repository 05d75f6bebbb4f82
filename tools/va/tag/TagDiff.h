#pragma once

#include "tools/va/Table.h"

namespace va::tool {

[[nodiscard]] Command TagDiffCommand();

}  // namespace va::tool
