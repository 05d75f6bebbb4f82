// Byte-pair encoding of one block of a compressed stream.
//
// A block is a series of sub-blocks of up to 2048 content bytes. Each lists the byte values it uses
// as codes for pairs, then its packed bytes. The encoded bytes are fixed: the pairs to replace, and
// the codes they get, follow from the content alone, so two encoders never differ.
//
// Both functions keep their working state (about 190 KB for packing, 9 KB for expanding) on the
// stack, share nothing between calls and never throw.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

namespace archive {

// Packs `input` into `output`, which must hold input.size() bytes, and returns the bytes placed.
// Where packing would save nothing, `output` gets a copy of the input: the result is then
// input.size(), by which callers recognise a stored block.
[[nodiscard]] std::size_t CompressBlock(std::span<std::byte> output,
                                        std::span<const std::byte> input);

// Expands a packed block and returns the bytes of content; nullopt if the block is corrupt: its
// tables or packed bytes are cut short, a code contains itself, or the content does not fit. The
// bytes of `output` after the content are unspecified. Time grows with the two sizes only.
[[nodiscard]] std::optional<std::size_t> ExpandBlock(std::span<std::byte> output,
                                                     std::span<const std::byte> input);

}  // namespace archive
