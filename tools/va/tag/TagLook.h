// The commands 'va tag print', 'check' and 'get', which only read.
#pragma once

#include "tools/va/Table.h"

namespace va::tool {

[[nodiscard]] Command TagPrintCommand();
[[nodiscard]] Command TagCheckCommand();
[[nodiscard]] Command TagGetCommand();

}  // namespace va::tool
