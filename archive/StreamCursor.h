// Reads the blocks of one compressed stream, from the first to the last.
//
// A stream has no table of its blocks: one is reached by passing over those before it. The caller
// counts the content, because only it knows how much there should be, and keeps one window on the
// stream's file for all calls.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

#include "archive/Stream.h"
#include "archive/Window.h"

namespace archive {

class StreamCursor {
public:
    // The first block is at offset `first` of the file; no block reaches past `end`.
    explicit StreamCursor(std::uint64_t first = 0,
                          std::uint64_t end = std::numeric_limits<std::uint64_t>::max())
        : offset_(first), end_(end) {}

    // Returns the content of the next block: in `room`, or in the window if the block is stored
    // verbatim. `left` is the stream's content from this block on, at least one byte. Empty if the
    // block is damaged: Problem says how, and the cursor stays. Throws Error (CannotRead).
    [[nodiscard]] std::span<const std::byte> Next(Window& file, std::uint64_t left,
                                                  std::span<std::byte, kBlockSize> room);

    // Passes over the next block if it has at most `most` bytes of content, less than `left`, and
    // returns them. 0 if it has more, which is no problem, or is damaged.
    [[nodiscard]] std::uint32_t Skip(Window& file, std::uint64_t left, std::uint64_t most);

    // Returns what the last call found wrong, as a clause in English; null if nothing.
    [[nodiscard]] const char* Problem() const { return problem_; }
    // Returns the offset of the next block.
    [[nodiscard]] std::uint64_t Offset() const { return offset_; }

private:
    // Returns the header of the next block; of length 0 if it is damaged. `worth` is for the
    // window: the bytes to read if the header is not in it.
    [[nodiscard]] BlockHeader Header(Window& file, std::uint64_t left, std::uint64_t worth);

    std::uint64_t offset_;
    std::uint64_t end_;
    const char* problem_ = nullptr;
};

}  // namespace archive
