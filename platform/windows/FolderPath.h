// Files in an open folder.
//
// FolderHandle holds its folder open without the right of others to rename it. The system then
// moves neither the folder nor what is above it, so that its path stays what it was.
#pragma once

#include <string>

namespace platform::windows {

// Returns the system path of what has that name in an open folder; empty for a name that leads
// elsewhere: one with a separator or a ':'.
[[nodiscard]] std::wstring PathIn(int folder, const std::string& name);

}  // namespace platform::windows
