// Compares an archive or folder with the sums in a file of sha256sum.
#pragma once

#include <optional>
#include <string>

#include "tools/va/Run.h"

namespace va::tool {

// Returns the text of a file that begins with a line of sha256sum, or of standard input for "-".
// Returns nullopt for other files and for folders.
[[nodiscard]] std::optional<std::string> ReadSumsFile(const std::string& path);

// Reports the members of `target` that differ from the sums in `text`, which was read from `path`.
[[nodiscard]] ExitCode VerifySums(Run& run, const std::string& target, const std::string& path,
                                  const std::string& text);

}  // namespace va::tool
