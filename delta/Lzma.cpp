#include "delta/Lzma.h"

#include <lzma.h>

#include <algorithm>
#include <array>
#include <new>

namespace delta {
namespace {

lzma_options_lzma Options(LzmaShape shape, std::uint64_t dictionarySize) {
    lzma_options_lzma options{};
    // Higher presets differ from 6 only in the dictionary, which is set below.
    constexpr std::uint32_t kPreset = 6;
    lzma_lzma_preset(&options, kPreset);
    options.lc = shape.lc;
    options.lp = shape.lp;
    options.pb = shape.pb;
    options.dict_size = static_cast<std::uint32_t>(
        std::max<std::uint64_t>(dictionarySize, std::uint64_t{LZMA_DICT_SIZE_MIN}));
    return options;
}

void ThrowIfFailed(lzma_ret result) {
    if (result == LZMA_MEM_ERROR) throw std::bad_alloc();
    if (result != LZMA_OK) throw Error(ErrorKind::OutOfMemory, "liblzma cannot be set up");
}

// Frees a liblzma coder at the end of its scope.
struct Coder {
    Coder() = default;
    ~Coder() { lzma_end(&stream); }
    Coder(const Coder&) = delete;
    Coder& operator=(const Coder&) = delete;

    lzma_stream stream = LZMA_STREAM_INIT;
};

}  // namespace

std::uint8_t EncodeShape(LzmaShape shape) {
    return static_cast<std::uint8_t>((shape.pb * 5 + shape.lp) * 9 + shape.lc);
}

LzmaShape DecodeShape(std::uint8_t byte) {
    LzmaShape shape;
    shape.lc = static_cast<std::uint8_t>(byte % 9);
    shape.lp = static_cast<std::uint8_t>(byte / 9 % 5);
    shape.pb = static_cast<std::uint8_t>(byte / 45);
    if (shape.pb > LZMA_PB_MAX || shape.lc + shape.lp > LZMA_LCLP_MAX) ThrowDamaged("LZMA shape");
    return shape;
}

std::optional<std::size_t> PackLzma(const Pieces& input, LzmaShape shape,
                                    std::uint64_t dictionarySize, std::span<std::uint8_t> room) {
    lzma_options_lzma options = Options(shape, dictionarySize);
    const std::array<lzma_filter, 2> filters{
        {{LZMA_FILTER_LZMA1EXT, &options}, {LZMA_VLI_UNKNOWN, nullptr}}};
    Coder coder;
    ThrowIfFailed(lzma_raw_encoder(&coder.stream, filters.data()));
    coder.stream.next_out = room.data();
    coder.stream.avail_out = room.size();
    for (const ByteView piece : input.views) {
        coder.stream.next_in = piece.data();
        coder.stream.avail_in = piece.size();
        if (piece.empty()) continue;
        ThrowIfFailed(lzma_code(&coder.stream, LZMA_RUN));
        if (coder.stream.avail_in != 0) return std::nullopt;
    }
    // Running out of room is the only expected failure: another form is shorter then.
    const lzma_ret result = lzma_code(&coder.stream, LZMA_FINISH);
    if (result == LZMA_STREAM_END) return room.size() - coder.stream.avail_out;
    ThrowIfFailed(result);
    return std::nullopt;
}

std::uint64_t PackLzmaMemory(std::uint64_t dictionarySize) {
    lzma_options_lzma options = Options({}, dictionarySize);
    const std::array<lzma_filter, 2> filters{
        {{LZMA_FILTER_LZMA1EXT, &options}, {LZMA_VLI_UNKNOWN, nullptr}}};
    return lzma_raw_encoder_memusage(filters.data());
}

struct LzmaReader::State {
    Coder coder;
};

LzmaReader::LzmaReader(ByteView packed, LzmaShape shape, std::uint64_t dictionarySize)
    : state_(std::make_unique<State>()) {
    lzma_options_lzma options = Options(shape, dictionarySize);
    const std::array<lzma_filter, 2> filters{
        {{LZMA_FILTER_LZMA1, &options}, {LZMA_VLI_UNKNOWN, nullptr}}};
    lzma_stream& stream = state_->coder.stream;
    ThrowIfFailed(lzma_raw_decoder(&stream, filters.data()));
    stream.next_in = packed.data();
    stream.avail_in = packed.size();
}

LzmaReader::~LzmaReader() = default;

std::uint64_t LzmaReader::Memory(std::uint64_t dictionarySize) {
    lzma_options_lzma options = Options({.lc = LZMA_LCLP_MAX, .lp = 0, .pb = 0}, dictionarySize);
    const std::array<lzma_filter, 2> filters{
        {{LZMA_FILTER_LZMA1, &options}, {LZMA_VLI_UNKNOWN, nullptr}}};
    return lzma_raw_decoder_memusage(filters.data());
}

void LzmaReader::Read(std::span<std::uint8_t> out) {
    lzma_stream& stream = state_->coder.stream;
    stream.next_out = out.data();
    stream.avail_out = out.size();
    while (stream.avail_out != 0) {
        const lzma_ret result = lzma_code(&stream, LZMA_RUN);
        if (result == LZMA_MEM_ERROR) throw std::bad_alloc();
        if (result != LZMA_OK) ThrowDamaged("a packed stream does not decode");
    }
}

}  // namespace delta
