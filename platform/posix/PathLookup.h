// From the paths that callers give to the paths that the system knows.
#pragma once

#include <string>

namespace platform::posix {

// `path` with '/' in place of every '\'; a null path becomes the empty one, which names nothing.
[[nodiscard]] std::string ToSystemPath(const char* path);

// The system path under which `path` exists. When the path does not exist as given, each component
// that has no exact match stands for the first entry, in byte order, that differs from it only in
// letter case. When there is none either, ToSystemPath(path).
[[nodiscard]] std::string FindExistingPath(const char* path);

}  // namespace platform::posix
