#pragma once

#include "tools/va/Table.h"

namespace va::tool {

[[nodiscard]] Command TagFormatCommand();

}  // namespace va::tool
