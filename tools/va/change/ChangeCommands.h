// The commands that make and change archives.
#pragma once

#include "tools/va/Table.h"

namespace va::tool {

[[nodiscard]] Command AddCommand();
[[nodiscard]] Command CreateCommand();
[[nodiscard]] Command DeleteCommand();
[[nodiscard]] Command RenameCommand();
[[nodiscard]] Command RepackCommand();
[[nodiscard]] Command RepairCommand();

}  // namespace va::tool
