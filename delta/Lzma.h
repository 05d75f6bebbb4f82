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

// Returns the usual one-byte form, (pb * 5 + lp) * 9 + lc.
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

// Writes a bare LZMA1 stream of `input`, without container and end marker (each would cost more
// than a small stream), to the front of `room`. Returns the bytes written; nullopt if they do not
// fit.
[[nodiscard]] std::optional<std::size_t> PackLzma(const Pieces& input, LzmaShape shape,
                                                  std::uint64_t dictionarySize,
                                                  std::span<std::uint8_t> room);

// Returns the bytes of memory that PackLzma takes.
[[nodiscard]] std::uint64_t PackLzmaMemory(std::uint64_t dictionarySize);

// Decodes what PackLzma made, piece by piece. Borrows `packed`. Takes `dictionarySize` bytes of
// memory beside a fixed amount.
class LzmaReader {
public:
    LzmaReader(ByteView packed, LzmaShape shape, std::uint64_t dictionarySize);
    ~LzmaReader();
    LzmaReader(const LzmaReader&) = delete;
    LzmaReader& operator=(const LzmaReader&) = delete;

    // Returns the bytes of memory that a reader takes.
    static std::uint64_t Memory(std::uint64_t dictionarySize);

    // Fills `out`. Throws Error (Damaged) if the stream ends before or is not one.
    void Read(std::span<std::uint8_t> out);

private:
    struct State;

    std::unique_ptr<State> state_;
};

}  // namespace delta
