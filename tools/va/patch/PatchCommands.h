// The commands that make, apply and examine patches.
#pragma once

#include "tools/va/Table.h"

namespace va::tool {

[[nodiscard]] Command ApplyCommand();
[[nodiscard]] Command DiffCommand();
[[nodiscard]] Command ExpandCommand();
[[nodiscard]] Command ReportCommand();
[[nodiscard]] Command VerifyCommand();

}  // namespace va::tool
