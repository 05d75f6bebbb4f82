// The commands 'va tag set' and 'va tag remove', which change one tag.
#pragma once

#include "tools/va/Table.h"

namespace va::tool {

[[nodiscard]] Command TagSetCommand();
[[nodiscard]] Command TagRemoveCommand();

}  // namespace va::tool
