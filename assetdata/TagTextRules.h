// Rules of the text form: how a tag's name is written, and what a value is by its bytes alone.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Vorn {

// Limits in bytes, all fixed. Those of reading and writing differ.
inline constexpr std::size_t kMostWrittenName = 1024;
inline constexpr std::size_t kMostReadName = 511;
inline constexpr std::size_t kMostChunkName = 254;  // what a chunk file's length byte can hold
inline constexpr std::size_t kMostListBytes = 255;

constexpr bool IsTagBlank(char c) { return c == ' ' || c == '\t'; }
constexpr bool IsTagLineEnd(char c) { return c == '\r' || c == '\n'; }

// Returns the name as the text form writes it: A to Z lowered, bytes 0 to 32 and from 128 on
// replaced by "_", cut to 1,024 bytes.
[[nodiscard]] std::string FoldTagName(std::string_view name);

// Classify a value without quotes that ends with its line: as one number (an integer or, with a
// dot, a float), or else as a list of floats. Either may contain no digit.
[[nodiscard]] bool IsNumberValue(std::string_view value);
[[nodiscard]] bool IsListValue(std::string_view value);

// Return whether a person likely meant a comment by a line with this name, and one number with a
// separator of thousands by this list: 14,300.
[[nodiscard]] bool LooksLikeComment(std::string_view name);
[[nodiscard]] bool LooksLikeThousands(std::string_view list);

// Returns whether a text becomes a KUID: it begins with one and contains no second.
[[nodiscard]] bool IsKUIDValue(std::string_view text);

}  // namespace Vorn
