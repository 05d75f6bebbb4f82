// The destination of commands that change a description.
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

// Throws Failure if `place` cannot take the result: a member, a link without -f, or an existing
// file without -f. For a change in place `place` is the input's own name, and an existing file is
// accepted.
void CheckEditPlace(Run& run, const Input& input, const std::string& place);

// Writes the result. A file that would not change in place is not written, so it keeps its time.
void WriteEdited(Run& run, const Input& input, const Bytes& before, const Bytes& after,
                 const std::string& place);

}  // namespace va::tool
