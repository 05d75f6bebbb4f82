// The command 'va tag format': a text laid out anew.
#pragma once

#include "tools/va/Table.h"

namespace va::tool {

[[nodiscard]] Command TagFormatCommand();

}  // namespace va::tool
