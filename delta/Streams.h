#pragma once

#include <optional>

#include "delta/Lzma.h"
#include "delta/Span.h"

namespace vdiff {

// Spans as bytes, for a general packer. The files stay borrowed.
struct SpanStreams {
    SpanStreams(ByteView oldFile, ByteView newFile, std::span<const Span> spans);

    ByteBuffer control;  // a span: distance from the last copy's end in the old file, sign folded;
                         // bytes to copy; fresh bytes
    ByteBuffer gaps;     // for each differing byte: bytes copied unchanged since the one before
    ByteBuffer values;   // for each differing byte: new minus old, modulo 256
    Pieces fresh;        // as views of the new file
};

// Writes the streams to the front of `room`, one after another: each its size, and either its bytes
// or an LZMA stream of them, whichever is shorter. The bytes written, or nothing when they do not
// fit.
[[nodiscard]] std::optional<std::size_t> WriteStreams(const SpanStreams& streams,
                                                      std::span<std::uint8_t> room);

// Reads one of these streams from front to back without holding more of it than a dictionary.
// Throws PatchError (DamagedDiff) when it ends too early or does not decode.
class StreamReader {
public:
    // Takes the stream off the front of `payload`, which stays borrowed.
    explicit StreamReader(ByteReader& payload);

    [[nodiscard]] bool AtEnd() const noexcept { return unread_ == 0 && piece_.empty(); }

    std::uint8_t Byte();
    std::uint64_t Number();
    void Read(std::span<std::uint8_t> out);

private:
    void Refill();

    std::uint64_t unread_ = 0;  // bytes of the stream that are in neither `piece_` nor the past
    ByteView stored_;
    std::optional<LzmaReader> packed_;
    ByteBuffer buffer_;
    ByteView piece_;
};

}  // namespace vdiff
