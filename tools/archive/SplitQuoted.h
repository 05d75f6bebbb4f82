// Splits a text at delimiters; quoted parts are kept whole.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "kernel/String.h"

namespace Vorn {

// Fills `parts` and returns their number. Any byte of `delimiters` ends a part, and so does
// `quote`: the text between two quotes is a separate part, unless it is empty. A quote without its
// partner drops the rest of the text. An unquoted part that reaches byte 8,192 of the text takes
// all of the rest.
std::size_t SplitQuoted(std::string_view text, std::string_view delimiters, char quote,
                        std::vector<String>& parts);

}  // namespace Vorn
