// Compares what was read of a member with the check sum that its archive keeps.
#pragma once

#include <cstddef>
#include <span>

#include "KernelStandard/File.h"
#include "converter/InputArchive.h"

namespace converter {

// Compares `content`, all of what `file` read of a member of `input`, with the member's check sum.
// False, after a line on standard error, if they disagree. A check sum of 0 means "not recorded"
// and agrees with everything.
[[nodiscard]] bool CheckContent(const InputArchive& input, const char* member,
                                const Vorn::File& file, std::span<const std::byte> content);

}  // namespace converter
