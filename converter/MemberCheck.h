// Compares what was read of a member with the check sum that its archive keeps.
#pragma once

#include <cstddef>
#include <span>

#include "KernelStandard/File.h"
#include "converter/InputArchive.h"

namespace converter {

// Returns whether `content`, all of what `file` read of a member of `input`, agrees with the
// member's check sum; false after a line on standard error. A check sum of 0 means "not recorded"
// and agrees with everything.
[[nodiscard]] bool IsIntact(const InputArchive& input, const char* member, const Vorn::File& file,
                            std::span<const std::byte> content);

}  // namespace converter
