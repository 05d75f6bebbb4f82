// Reading a whole file.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "KernelStandard/File.h"

namespace Vorn {

// Returns everything from the position of an open file to its end, or nullopt if that cannot be
// read or is damaged, so that a part of the content is never treated as a short file. Memory grows
// with the bytes that are read, whatever size a damaged file claims. Throws FileEx as File::Read
// and File::Size do.
[[nodiscard]] std::optional<std::vector<std::byte>> ReadToEnd(File& file);

}  // namespace Vorn
