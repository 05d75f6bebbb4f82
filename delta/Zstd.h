#pragma once

#include <memory>
#include <optional>

#include "delta/Bytes.h"

// What of libzstd is kept from one diff to the next; its own type, to keep its headers out.
struct ZSTD_CCtx_s;
struct ZSTD_DCtx_s;

namespace delta {

// Packs and unpacks bare zstd frames with a prefix. Makes libzstd's contexts when they are first
// needed and reuses them, since setting one up costs more than packing a small file.
class Zstd {
public:
    Zstd();
    ~Zstd();
    Zstd(const Zstd&) = delete;
    Zstd& operator=(const Zstd&) = delete;

    // Writes a frame of `input` with `prefix` before it to the front of `room`: without magic,
    // check and size. Returns the bytes written, or nothing when `room` is too small.
    [[nodiscard]] std::optional<std::size_t> Pack(ByteView input, ByteView prefix, int level,
                                                  std::span<std::uint8_t> room);

    // Bytes that the context takes to pack at this level; an estimate that errs upwards.
    static std::uint64_t PackMemory(std::uint64_t inputSize, std::uint64_t prefixSize, int level);

    // Fills `out` with what Pack packed. Throws Error (Damaged) when the frame holds anything else
    // than out.size() bytes. Takes a fixed amount of memory.
    void Unpack(ByteView packed, ByteView prefix, std::span<std::uint8_t> out);

    [[nodiscard]] std::uint64_t MemoryHeld() const noexcept;

    // Frees the contexts.
    void Release() noexcept;

private:
    struct Free {
        void operator()(ZSTD_CCtx_s* context) const noexcept;
        void operator()(ZSTD_DCtx_s* context) const noexcept;
    };

    std::unique_ptr<ZSTD_CCtx_s, Free> packer_;
    std::unique_ptr<ZSTD_DCtx_s, Free> unpacker_;
};

}  // namespace delta
