// Method 3 of a diff: zstd frames with a prefix, through libzstd.
#pragma once

#include <memory>
#include <optional>

#include "delta/Bytes.h"

// libzstd's contexts, declared here to keep its headers out.
struct ZSTD_CCtx_s;
struct ZSTD_DCtx_s;

namespace delta {

// Packs and unpacks bare zstd frames with a prefix. Creates libzstd's contexts on first use and
// reuses them, since setting one up costs more than packing a small file.
class Zstd {
public:
    Zstd();
    ~Zstd();
    Zstd(const Zstd&) = delete;
    Zstd& operator=(const Zstd&) = delete;

    // Writes a frame of `input`, as content that follows `prefix`, to the front of `room`. The
    // frame has no magic, check or size, because the diff holds them already. Returns the bytes
    // written; nullopt if `room` is too small.
    [[nodiscard]] std::optional<std::size_t> Pack(ByteView input, ByteView prefix, int level,
                                                  std::span<std::uint8_t> room);

    // Returns the memory that the context takes to pack at this level, in bytes; never too low.
    static std::uint64_t PackMemory(std::uint64_t inputSize, std::uint64_t prefixSize, int level);

    // Fills `out` with the content of a frame. Throws Error (Damaged) unless the content has
    // exactly out.size() bytes. Takes a fixed amount of memory.
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
