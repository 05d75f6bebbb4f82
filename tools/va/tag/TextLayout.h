// Lays out a tag text as the writer of texts does.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "assetdata/OCSChunk.h"
#include "tools/va/tag/TextEdit.h"

namespace va::tool {

// Returns the text with the lines and columns of the writer of texts; names and values keep their
// bytes, and the text keeps its kind of line ends. `root` and `places` come from reading `text`. A
// line that begins like a comment keeps its blanks. A malformed text may read differently
// afterwards, so the caller must check the result. Returns nullopt if the indentation of deep
// containers would take more than 256 MB.
[[nodiscard]] std::optional<std::string> TextLaidOut(std::string_view text,
                                                     const Vorn::OCSChunk& root,
                                                     const TagPlaces& places);

}  // namespace va::tool
