// A value as a person types it.
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
// is what a tag text would read there, but stays a text where `old` is one, and a float where
// `old` is one and `typed` an integer. Line ends become CR LF. Throws Failure (Usage) when it is no
// value of that type, or does not fit.
[[nodiscard]] NewValue ReadNewValue(std::string_view typed, std::string_view type,
                                    const Vorn::OCSChunk* old);

}  // namespace va::tool
