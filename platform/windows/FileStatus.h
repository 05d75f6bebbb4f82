// Status of a file, converted to the types of this layer.
#pragma once

#include <windows.h>

#include <string>

#include "platform/Directories.h"

namespace platform::windows {

[[nodiscard]] std::int64_t ToSeconds(const FILETIME& time);
[[nodiscard]] FileStatus ToFileStatus(DWORD attributes, std::uint64_t size, const FILETIME& created,
                                      const FILETIME& accessed, const FILETIME& written);

// Opens a file or folder for queries only, which no share mode forbids. `follow` leads through
// links.
[[nodiscard]] HANDLE OpenForQuery(const std::wstring& path, bool follow);

// Sets `status` to that of what `path` leads to; false if it does not exist.
[[nodiscard]] bool QueryStatus(const std::wstring& path, FileStatus& status);

// Returns whether the reparse point is a symbolic link or a junction: others are plain files to
// everyone but their driver.
[[nodiscard]] bool IsLinkTag(DWORD attributes, DWORD reparseTag);
[[nodiscard]] EntryKind KindOf(const std::wstring& path);

}  // namespace platform::windows
