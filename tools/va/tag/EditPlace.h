// Where the commands that change a description put the result.
#pragma once

#include <string>

#include "tools/va/Options.h"
#include "tools/va/tag/Input.h"

namespace va::tool {

inline constexpr Option kEditResult{
    .name = kOutput.name,
    .letter = kOutput.letter,
    .value = kOutput.value,
    .meaning = "write the result to FILE ('-': standard output), not to IN",
    .completes = Completes::Files};

// Throws Failure when `place`, which is the input's own name for a change in place, cannot take the
// result: a member, a link without -f, a file that exists without -f unless it is the input.
void CheckEditPlace(Run& run, const Input& input, const std::string& place);

// Writes the result. A file in place that would not change is left alone and keeps its time.
void WriteEdited(Run& run, const Input& input, const Bytes& before, const Bytes& after,
                 const std::string& place);

}  // namespace va::tool
