// Names of tags as the text form writes them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Vorn {

inline constexpr std::size_t kMostWrittenName = 1024;  // bytes
inline constexpr std::size_t kMostReadName = 511;
inline constexpr std::size_t kMostChunkName = 254;  // what a chunk file's length byte can tell

// A to Z lowered, bytes 0 to 32 and from 128 on replaced by "_", at most 1,024 bytes.
[[nodiscard]] std::string FoldTagName(std::string_view name);

}  // namespace Vorn
