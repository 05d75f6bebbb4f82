// Recognises files that were named as asset descriptions but are something else.
#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace va::tool {

// Returns "an archive", "a picture (PNG)" and so on, by the first bytes; empty if the content may
// be a text. With `namedText`, the name ends in .txt, and zero bytes are accepted: they are
// reported as faults of the text.
[[nodiscard]] std::string KindOfContent(std::span<const std::byte> content, bool namedText);

}  // namespace va::tool
