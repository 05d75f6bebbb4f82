#include "delta/Zstd.h"

#define ZSTD_STATIC_LINKING_ONLY  // for frames without magic
#include <zstd.h>
#include <zstd_errors.h>

#include <algorithm>
#include <bit>
#include <memory>
#include <new>

namespace vdiff {
namespace {

// Long-distance matching pays from here on; below, the plain match finder sees the whole window.
constexpr int kLongDistanceLog = 24;

using Compressor = std::unique_ptr<ZSTD_CCtx, decltype(&ZSTD_freeCCtx)>;
using Decompressor = std::unique_ptr<ZSTD_DCtx, decltype(&ZSTD_freeDCtx)>;

void ThrowIfFailed(std::size_t result) {
    if (ZSTD_isError(result) != 0) throw std::bad_alloc();
}

int WindowLog(std::uint64_t size) {
    return std::clamp(static_cast<int>(std::bit_width(size)), ZSTD_WINDOWLOG_MIN,
                      ZSTD_WINDOWLOG_MAX_64);
}

}  // namespace

std::optional<std::size_t> PackZstd(ByteView input, ByteView prefix, int level,
                                    std::span<std::uint8_t> room) {
    const Compressor compressor(ZSTD_createCCtx(), &ZSTD_freeCCtx);
    if (compressor == nullptr) throw std::bad_alloc();
    ZSTD_CCtx* context = compressor.get();
    const int windowLog = WindowLog(std::uint64_t{input.size()} + prefix.size());
    ThrowIfFailed(ZSTD_CCtx_setParameter(context, ZSTD_c_compressionLevel, level));
    ThrowIfFailed(ZSTD_CCtx_setParameter(context, ZSTD_c_format, ZSTD_f_zstd1_magicless));
    ThrowIfFailed(ZSTD_CCtx_setParameter(context, ZSTD_c_contentSizeFlag, 0));
    ThrowIfFailed(ZSTD_CCtx_setParameter(context, ZSTD_c_windowLog, windowLog));
    if (windowLog >= kLongDistanceLog) {
        ThrowIfFailed(ZSTD_CCtx_setParameter(context, ZSTD_c_enableLongDistanceMatching, 1));
    }
    ThrowIfFailed(ZSTD_CCtx_refPrefix(context, prefix.data(), prefix.size()));

    const std::size_t size =
        ZSTD_compress2(context, room.data(), room.size(), input.data(), input.size());
    if (ZSTD_getErrorCode(size) == ZSTD_error_memory_allocation) throw std::bad_alloc();
    if (ZSTD_isError(size) != 0) return std::nullopt;
    return size;
}

void UnpackZstd(ByteView packed, ByteView prefix, std::span<std::uint8_t> out) {
    const Decompressor decompressor(ZSTD_createDCtx(), &ZSTD_freeDCtx);
    if (decompressor == nullptr) throw std::bad_alloc();
    ZSTD_DCtx* context = decompressor.get();
    ThrowIfFailed(ZSTD_DCtx_setParameter(context, ZSTD_d_format, ZSTD_f_zstd1_magicless));
    ThrowIfFailed(ZSTD_DCtx_setParameter(context, ZSTD_d_windowLogMax, ZSTD_WINDOWLOG_MAX_64));
    ThrowIfFailed(ZSTD_DCtx_refPrefix(context, prefix.data(), prefix.size()));
    const std::size_t size =
        ZSTD_decompressDCtx(context, out.data(), out.size(), packed.data(), packed.size());
    if (ZSTD_isError(size) != 0 || size != out.size())
        ThrowDamaged("its zstd frame does not decode");
}

}  // namespace vdiff
