// The command 'va tag format', which changes only the layout of a text.
#pragma once

#include "tools/va/Table.h"

namespace va::tool {

[[nodiscard]] Command TagFormatCommand();

}  // namespace va::tool
