// Temporary files under the engine's names for them.
#pragma once

#include <array>
#include <string>

#include "platform/Files.h"

namespace Vorn {

// Returns a name that no other temporary file of this process gets: "%08X.T%08X" of the process
// identifier and a counter that starts at 0. Any thread.
using TemporaryName = std::array<char, 20>;
[[nodiscard]] TemporaryName MakeTemporaryName();

// Creates a new file with such a name in `folder` ("" or ending in a separator), and opens it for
// writing. Returns its path, or "" if none can be created.
[[nodiscard]] std::string CreateTemporaryFile(const std::string& folder,
                                              platform::FileHandle& file);

}  // namespace Vorn
