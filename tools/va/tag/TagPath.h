// Paths of tags: names from the top down, joined by '/'.
//
// A '/' in a name is written "\/", a backslash "\\". Slashes at the ends and double ones do not
// count.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "assetdata/OCSChunk.h"

namespace va::tool {

[[nodiscard]] std::vector<std::string> SplitPath(std::string_view path);

// Appends a name to a path that is empty or was made by this.
void AppendName(std::string& path, std::string_view name);

// Returns the tag of that name, in any letter case, the exact one first; null if there is none.
[[nodiscard]] Vorn::OCSChunkRef FindChild(const Vorn::OCSChunk& container, std::string_view name);

// Returns the position of that tag; the count of children if there is none.
[[nodiscard]] std::uint32_t FindIndex(const Vorn::OCSChunk& container, std::string_view name);

// Returns the tag at a path below `root`, the first of equals; `root` itself for an empty path.
// Null if there is none; `missing` then says which name is missing where, and what is there.
[[nodiscard]] Vorn::OCSChunkRef FindTag(const Vorn::OCSChunkRef& root, std::string_view path,
                                        std::string& missing);

}  // namespace va::tool
