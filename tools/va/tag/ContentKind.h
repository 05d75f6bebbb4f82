// The kind of a file that is treated as a description and is none.
#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace va::tool {

// Returns "an archive", "a picture (PNG)" and so on, by the first bytes; empty for what may be a
// text. With `namedText` the name says that it is one, and then single zero bytes do not count
// against it.
[[nodiscard]] std::string KindOfContent(std::span<const std::byte> content, bool namedText);

}  // namespace va::tool
