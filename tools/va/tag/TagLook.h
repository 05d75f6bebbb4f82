// print, check and get: the commands that write nothing.
#pragma once

#include "tools/va/Table.h"

namespace va::tool {

[[nodiscard]] Command TagPrintCommand();
[[nodiscard]] Command TagCheckCommand();
[[nodiscard]] Command TagGetCommand();

}  // namespace va::tool
