// Paths of tags: names from the top down, joined by '/'.
//
// A '/' in a name is written "\/", a backslash "\\". Empty components are ignored.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "assetdata/OCSChunk.h"

namespace va::tool {

[[nodiscard]] std::vector<std::string> SplitPath(std::string_view path);

// Appends a name, escaped, to a path that is empty or was built by this function.
void AppendName(std::string& path, std::string_view name);

// Returns the tag of that name, or null. An exact match wins over one that differs in letter case.
[[nodiscard]] Vorn::OCSChunkRef FindChild(const Vorn::OCSChunk& container, std::string_view name);

// Returns the index of that tag; the number of children if there is none.
[[nodiscard]] std::uint32_t FindIndex(const Vorn::OCSChunk& container, std::string_view name);

// Returns the tag at a path below `root`, the first one of equal names; `root` for an empty path.
// Returns null if there is none, and sets `missing` to a message: the missing name, its container,
// and the names there.
[[nodiscard]] Vorn::OCSChunkRef FindTag(const Vorn::OCSChunkRef& root, std::string_view path,
                                        std::string& missing);

}  // namespace va::tool
