// The byte-pair codec in its plainest form, step by step and byte by byte: the oracle for the fast
// one. Same contracts as archive/BytePair.h.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

namespace Vorn::Literal {

std::size_t CompressBlock(std::span<std::byte> output, std::span<const std::byte> input);
std::optional<std::size_t> ExpandBlock(std::span<std::byte> output,
                                       std::span<const std::byte> input);

}  // namespace Vorn::Literal
