// Reads a value as users type it.
#pragma once

#include <string>
#include <string_view>

#include "assetdata/OCSChunk.h"

namespace va::tool {

struct NewValue {
    std::uint32_t type = Vorn::kTagNone;
    Vorn::OCSRawData data{};
    std::string written{};  // as a text holds it, in UTF-8, with quotes where it needs them
};

// Reads `typed` as a value of the type "auto", "integer", "float", "text", "kuid" or "none". "auto"
// gives the type that a tag text would read, except that a text stays a text, and a float stays a
// float if `typed` is an integer; `old` is the present tag or null. Line ends become CR LF. Throws
// Failure (Usage) if `typed` is not a value of that type, or does not fit.
[[nodiscard]] NewValue ReadNewValue(std::string_view typed, std::string_view type,
                                    const Vorn::OCSChunk* old);

}  // namespace va::tool
