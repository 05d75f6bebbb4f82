// Bare LZMA1 streams, through liblzma.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "delta/Bytes.h"

namespace delta {

// The literal context bits, literal position bits and position bits of an LZMA stream.
struct LzmaShape {
    std::uint8_t lc = 3;
    std::uint8_t lp = 0;
    std::uint8_t pb = 2;
};

// Returns the one-byte form that LZMA files use, (pb * 5 + lp) * 9 + lc.
[[nodiscard]] std::uint8_t EncodeShape(LzmaShape shape);
// Throws Error (Damaged) for a byte that is not a shape.
[[nodiscard]] LzmaShape DecodeShape(std::uint8_t byte);

// The bytes of one stream, in borrowed pieces.
struct Pieces {
    std::vector<ByteView> views;
    std::uint64_t size = 0;

    void Add(ByteView view) {
        views.push_back(view);
        size += view.size();
    }
};

// Writes an LZMA1 stream of `input` to the front of `room`, without container and end marker, which
// would be larger than a small stream. Returns the bytes written; nullopt if they do not fit.
[[nodiscard]] std::optional<std::size_t> PackLzma(const Pieces& input, LzmaShape shape,
                                                  std::uint64_t dictionarySize,
                                                  std::span<std::uint8_t> room);

// Returns the memory that PackLzma takes, in bytes.
[[nodiscard]] std::uint64_t PackLzmaMemory(std::uint64_t dictionarySize);

// Decodes a stream of PackLzma piece by piece. Borrows `packed`. Takes `dictionarySize` bytes of
// memory in addition to a fixed amount.
class LzmaReader {
public:
    LzmaReader(ByteView packed, LzmaShape shape, std::uint64_t dictionarySize);
    ~LzmaReader();
    LzmaReader(const LzmaReader&) = delete;
    LzmaReader& operator=(const LzmaReader&) = delete;

    // Returns the memory that a reader takes, in bytes.
    static std::uint64_t Memory(std::uint64_t dictionarySize);

    // Fills `out`. Throws Error (Damaged) if the stream is invalid or ends too early.
    void Read(std::span<std::uint8_t> out);

private:
    struct State;

    std::unique_ptr<State> state_;
};

}  // namespace delta
