// The commands that read archives and folders.
#pragma once

#include "tools/va/Table.h"

namespace va::tool {

// The operand of commands that report on each of several files.
inline constexpr Operand kFiles{.name = "FILE",
                                .meaning = "an archive or patch, or a folder",
                                .repeats = true,
                                .completes = Completes::Archives};

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
