#include "delta/Zstd.h"

#define ZSTD_STATIC_LINKING_ONLY  // for frames without magic, and sizes of contexts
#include <zstd.h>
#include <zstd_errors.h>

#include <algorithm>
#include <bit>
#include <new>

namespace delta {
namespace {

// Long-distance matching pays from this window size on; the plain match finder covers smaller
// windows as a whole.
constexpr int kLongDistanceLog = 24;

std::size_t Checked(std::size_t result) {
    if (ZSTD_isError(result) != 0) throw std::bad_alloc();
    return result;
}

int WindowLog(std::uint64_t size) {
    return std::clamp(static_cast<int>(std::bit_width(size)), ZSTD_WINDOWLOG_MIN,
                      ZSTD_WINDOWLOG_MAX_64);
}

}  // namespace

Zstd::Zstd() = default;
Zstd::~Zstd() = default;

void Zstd::Free::operator()(ZSTD_CCtx_s* context) const noexcept { ZSTD_freeCCtx(context); }
void Zstd::Free::operator()(ZSTD_DCtx_s* context) const noexcept { ZSTD_freeDCtx(context); }

std::optional<std::size_t> Zstd::Pack(ByteView input, ByteView prefix, int level,
                                      std::span<std::uint8_t> room) {
    if (!packer_) packer_.reset(ZSTD_createCCtx());
    ZSTD_CCtx* context = packer_.get();
    if (!context) throw std::bad_alloc();
    // The window must reach the start of the prefix, because moved content may lie anywhere in it.
    const int windowLog = WindowLog(std::uint64_t{input.size()} + prefix.size());
    Checked(ZSTD_CCtx_reset(context, ZSTD_reset_session_and_parameters));
    Checked(ZSTD_CCtx_setParameter(context, ZSTD_c_compressionLevel, level));
    Checked(ZSTD_CCtx_setParameter(context, ZSTD_c_format, ZSTD_f_zstd1_magicless));
    Checked(ZSTD_CCtx_setParameter(context, ZSTD_c_contentSizeFlag, 0));
    Checked(ZSTD_CCtx_setParameter(context, ZSTD_c_windowLog, windowLog));
    if (windowLog >= kLongDistanceLog) {
        Checked(ZSTD_CCtx_setParameter(context, ZSTD_c_enableLongDistanceMatching, 1));
    }
    Checked(ZSTD_CCtx_refPrefix(context, prefix.data(), prefix.size()));

    const std::size_t size =
        ZSTD_compress2(context, room.data(), room.size(), input.data(), input.size());
    if (ZSTD_getErrorCode(size) == ZSTD_error_memory_allocation) throw std::bad_alloc();
    if (ZSTD_isError(size) != 0) return std::nullopt;
    return size;
}

std::uint64_t Zstd::PackMemory(std::uint64_t inputSize, std::uint64_t prefixSize, int level) {
    // Covers libzstd's block buffers and other needs; more than was measured.
    constexpr std::uint64_t kSlack = 1U << 19;
    const int windowLog = WindowLog(inputSize + prefixSize);
    ZSTD_compressionParameters parameters =
        ZSTD_getCParams(level, std::max<std::uint64_t>(inputSize, 1), prefixSize);
    parameters.windowLog = static_cast<unsigned>(windowLog);
    std::uint64_t size = kSlack + Checked(ZSTD_estimateCCtxSize_usingCParams(parameters));
    // The table for long distances has 8 bytes for each 128 bytes of window, and one more byte for
    // each of its entries of 8 bytes.
    if (windowLog >= kLongDistanceLog) size += std::uint64_t{9} << (windowLog - 7);
    return size;
}

void Zstd::Unpack(ByteView packed, ByteView prefix, std::span<std::uint8_t> out) {
    if (!unpacker_) unpacker_.reset(ZSTD_createDCtx());
    ZSTD_DCtx* context = unpacker_.get();
    if (!context) throw std::bad_alloc();
    Checked(ZSTD_DCtx_reset(context, ZSTD_reset_session_and_parameters));
    Checked(ZSTD_DCtx_setParameter(context, ZSTD_d_format, ZSTD_f_zstd1_magicless));
    Checked(ZSTD_DCtx_setParameter(context, ZSTD_d_windowLogMax, ZSTD_WINDOWLOG_MAX_64));
    Checked(ZSTD_DCtx_refPrefix(context, prefix.data(), prefix.size()));
    const std::size_t size =
        ZSTD_decompressDCtx(context, out.data(), out.size(), packed.data(), packed.size());
    if (ZSTD_isError(size) != 0 || size != out.size()) {
        ThrowDamaged("its zstd frame does not decode");
    }
}

std::uint64_t Zstd::MemoryHeld() const noexcept {
    return ZSTD_sizeof_CCtx(packer_.get()) + ZSTD_sizeof_DCtx(unpacker_.get());
}

void Zstd::Release() noexcept {
    packer_.reset();
    unpacker_.reset();
}

}  // namespace delta
