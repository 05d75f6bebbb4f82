// Compares what was read of a member with the check sum that its archive keeps.
#pragma once

#include <cstddef>
#include <span>

#include "KernelStandard/File.h"
#include "kernel/InternedString.h"

// Returns whether `content`, all of what `file` read, agrees with the check sum of the member that
// it was opened from. A check sum of 0 counts as none and agrees with everything.
[[nodiscard]] bool AgreesWithCheckSum(const Vorn::InternedString& mount, const char* member,
                                      const Vorn::File& file, std::span<const std::byte> content);
