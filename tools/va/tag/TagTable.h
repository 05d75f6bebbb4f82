// Operands and options that the tag commands share.
#pragma once

#include "tools/va/Options.h"
#include "tools/va/tag/FindingReport.h"

namespace va::tool {

inline constexpr Operand kTagInput{
    .name = "IN",
    .meaning = "a file, a folder of them, archive.va:PATTERN, or '-' for standard input",
    .completes = Completes::Members};
inline constexpr Operand kTagInputs{.name = kTagInput.name,
                                    .meaning = kTagInput.meaning,
                                    .repeats = true,
                                    .completes = kTagInput.completes};
inline constexpr Option kOutputFolder{
    .name = "out-dir",
    .value = "DIR",
    .meaning = "write a file for each IN below DIR, which is created; all operands are inputs then",
    .completes = Completes::Folders};
inline const Option kIgnore{.name = "ignore",
                            .value = "KIND",
                            .meaning =
                                "findings of this kind do not count; the word in brackets "
                                "at the end of a finding is its kind",
                            .choices = FindingKinds(),
                            .repeats = true,
                            .completes = Completes::Choices};

}  // namespace va::tool
