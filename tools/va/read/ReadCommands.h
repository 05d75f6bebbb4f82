// The commands that read archives and folders.
#pragma once

#include "tools/va/Table.h"

namespace va::tool {

[[nodiscard]] Command BlocksCommand();
[[nodiscard]] Command CatCommand();
[[nodiscard]] Command CompareCommand();
[[nodiscard]] Command ExtractCommand();
[[nodiscard]] Command InfoCommand();
[[nodiscard]] Command ListCommand();
[[nodiscard]] Command OverlayCommand();
[[nodiscard]] Command SumsCommand();
[[nodiscard]] Command TestCommand();

}  // namespace va::tool
