// The command 'va tag diff': what differs between two descriptions.
#pragma once

#include "tools/va/Table.h"

namespace va::tool {

[[nodiscard]] Command TagDiffCommand();

}  // namespace va::tool
