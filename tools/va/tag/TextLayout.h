#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "assetdata/OCSChunk.h"
#include "tools/va/tag/TextEdit.h"

namespace va::tool {

// Returns a text with the lines and columns that the writer of texts uses, and the names and values
// as they stand. `root` and `places` are what reading it gave. A line that begins like a comment
// keeps its blanks, and the text its line ends. A text that is not well-formed may read
// differently then: the caller checks that. Nothing when the indentation of deep containers alone
// would take more than 256 MB.
[[nodiscard]] std::optional<std::string> TextLaidOut(std::string_view text,
                                                     const Vorn::OCSChunk& root,
                                                     const TagPlaces& places);

}  // namespace va::tool
