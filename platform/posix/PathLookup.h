// Translates callers' paths into system paths.
#pragma once

#include <string>

namespace platform::posix {

// Returns `path` with every '\' replaced by '/'; for null the empty path, which names no file.
[[nodiscard]] std::string ToSystemPath(const char* path);

// Returns the system path under which `path` exists. Each component without an exact match is
// replaced by the first entry, in byte order, that differs from it only in letter case. If a
// component has no match at all, returns ToSystemPath(path).
[[nodiscard]] std::string FindExistingPath(const char* path);

}  // namespace platform::posix
