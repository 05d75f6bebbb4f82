// Method 2 of a diff: segments as byte streams packed with LZMA.
#pragma once

#include <optional>

#include "delta/Lzma.h"
#include "delta/Segment.h"

namespace delta {

// Splits segments into one stream per kind of byte, because a general packer works best on bytes of
// one kind. Borrows the files.
struct SegmentStreams {
    SegmentStreams(ByteView oldFile, ByteView newFile, std::span<const Segment> segments);

    // Returns an upper bound of the memory for these streams and for packing them, in bytes.
    static std::uint64_t Memory(std::uint64_t newSize, std::size_t keySize);

    ByteBuffer control;  // for each segment: distance from the last copy's end in the old file,
                         // sign folded; bytes to copy; fresh bytes
    ByteBuffer gaps;     // for each differing byte: unchanged bytes since the one before
    ByteBuffer values;   // for each differing byte: new minus old, modulo 256
    Pieces fresh;        // views of the new file
};

// Writes the streams to the front of `room`, one after another: the size of each, then its bytes or
// an LZMA stream of them, whichever is shorter. Returns the bytes written; nullopt if they do not
// fit.
[[nodiscard]] std::optional<std::size_t> WriteStreams(const SegmentStreams& streams,
                                                      std::span<std::uint8_t> room);

// Returns an upper bound of the memory that the readers of a diff's four streams take, in bytes,
// whatever the diff declares.
[[nodiscard]] std::uint64_t StreamReadersMemory();

// Reads one of these streams sequentially, holding no more of it than a dictionary. Throws Error
// (Damaged) if it ends too early or does not decode.
class StreamReader {
public:
    // Takes the stream from the front of `payload` and borrows its bytes.
    explicit StreamReader(ByteReader& payload);

    [[nodiscard]] bool AtEnd() const noexcept { return unread_ == 0 && piece_.empty(); }

    std::uint8_t Byte();
    std::uint64_t Number();
    void Read(std::span<std::uint8_t> out);

private:
    void Refill();

    std::uint64_t unread_ = 0;          // bytes of the stream after `piece_`
    ByteView stored_;                   // the whole stream, if it is not packed
    std::optional<LzmaReader> packed_;  // the decoder, if it is
    ByteBuffer buffer_;                 // decoded bytes
    ByteView piece_;                    // decoded or stored bytes that are not read yet
};

}  // namespace delta
