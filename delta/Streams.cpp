#include "delta/Streams.h"

#include <algorithm>
#include <cstring>

#include "delta/DiffFormat.h"

namespace delta {
namespace {

using Output = std::span<std::uint8_t>;

constexpr std::uint64_t kPieceSize = 1U << 14;  // bytes decoded at a time
constexpr std::uint64_t kWorthPacking = 32;     // LZMA makes smaller streams longer
constexpr std::size_t kMaxStreamHead = 24;      // two numbers of up to 10 bytes, and the shape

std::uint64_t DictionarySize(std::uint64_t streamSize) {
    return std::min(streamSize, kMaxStreamDictionary);
}

// Writes one of the streams, as WriteStreams does. Packs first, after room for the largest head,
// because the head holds the packed size; then moves the packed bytes down to the head.
std::optional<std::size_t> WriteStream(const Pieces& stream, LzmaShape shape, Output room) {
    std::optional<std::size_t> packed;
    if (stream.size >= kWorthPacking && room.size() > kMaxStreamHead) {
        const Output body = room.subspan(kMaxStreamHead);
        packed = PackLzma(stream, shape, DictionarySize(stream.size),
                          body.first(std::min<std::uint64_t>(body.size(), stream.size)));
    }
    ByteBuffer head;
    ByteWriter out(head);
    out.Number(stream.size << 1 | (packed ? 1U : 0U));
    if (packed) {
        out.Byte(EncodeShape(shape));
        out.Number(*packed);
        std::memmove(room.data() + head.size(), room.data() + kMaxStreamHead, *packed);
    } else if (stream.size + head.size() <= room.size()) {
        std::uint8_t* next = room.data() + head.size();
        for (const ByteView view : stream.views) next = std::ranges::copy(view, next).out;
    } else {
        return std::nullopt;
    }
    std::ranges::copy(head, room.begin());
    return head.size() + packed.value_or(stream.size);
}

}  // namespace

SegmentStreams::SegmentStreams(ByteView oldFile, ByteView newFile,
                               std::span<const Segment> segments) {
    ByteWriter controlOut(control);
    ByteWriter gapsOut(gaps);
    std::uint64_t oldEnd = 0;
    std::uint64_t newAt = 0;
    std::uint64_t gap = 0;
    for (const Segment& segment : segments) {
        controlOut.Number(FoldSign(static_cast<std::int64_t>(segment.oldAt - oldEnd)));
        controlOut.Number(segment.copied);
        controlOut.Number(segment.fresh);
        oldEnd = std::uint64_t{segment.oldAt} + segment.copied;
        for (std::uint64_t at = segment.oldAt; at < oldEnd; ++at, ++newAt) {
            if (oldFile[at] == newFile[newAt]) {
                ++gap;
                continue;
            }
            gapsOut.Number(gap);
            values.push_back(static_cast<std::uint8_t>(newFile[newAt] - oldFile[at]));
            gap = 0;
        }
        if (segment.fresh != 0) fresh.Add(newFile.subspan(newAt, segment.fresh));
        newAt += segment.fresh;
    }
}

std::uint64_t SegmentStreams::Memory(std::uint64_t newSize, std::size_t keySize) {
    // Each segment takes three numbers and a view; twice that, because vectors grow by doubling.
    constexpr std::uint64_t kPerSegment = 2 * (3 * 5 + sizeof(ByteView));
    // At most a third of the copied bytes differ, since the copy ends otherwise (kMismatchCost);
    // each takes a gap and a value.
    return 2 * newSize + MostSegments(newSize, keySize) * kPerSegment +
           PackLzmaMemory(DictionarySize(newSize));
}

std::optional<std::size_t> WriteStreams(const SegmentStreams& streams, Output room) {
    // Numbers have no alignment, but content is often aligned to four bytes.
    constexpr LzmaShape kNumbers{.lc = 3, .lp = 0, .pb = 0};
    constexpr LzmaShape kContent{.lc = 3, .lp = 0, .pb = 2};
    std::size_t used = 0;
    for (const ByteBuffer* stream : {&streams.control, &streams.gaps, &streams.values}) {
        Pieces pieces;
        pieces.Add(*stream);
        const auto size = WriteStream(pieces, kNumbers, room.subspan(used));
        if (!size) return std::nullopt;
        used += *size;
    }
    const auto size = WriteStream(streams.fresh, kContent, room.subspan(used));
    if (!size) return std::nullopt;
    return used + *size;
}

std::uint64_t StreamReadersMemory() {
    return 4 * (LzmaReader::Memory(kMaxStreamDictionary) + kPieceSize);
}

StreamReader::StreamReader(ByteReader& payload) {
    const std::uint64_t sizeAndForm = payload.Number();
    unread_ = sizeAndForm >> 1;
    if ((sizeAndForm & 1) == 0) {
        stored_ = payload.Take(unread_);
        return;
    }
    const LzmaShape shape = DecodeShape(payload.Byte());
    packed_.emplace(payload.Take(payload.Number()), shape, DictionarySize(unread_));
    buffer_.resize(static_cast<std::size_t>(std::min(unread_, kPieceSize)));
}

void StreamReader::Refill() {
    if (unread_ == 0) ThrowDamaged("a stream is too short");
    if (packed_) {
        buffer_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(unread_, buffer_.size())));
        packed_->Read(buffer_);
        piece_ = buffer_;
    } else {
        piece_ = stored_;
    }
    unread_ -= piece_.size();
}

std::uint8_t StreamReader::Byte() {
    if (piece_.empty()) Refill();
    const std::uint8_t byte = piece_.front();
    piece_ = piece_.subspan(1);
    return byte;
}

std::uint64_t StreamReader::Number() {
    return DecodeNumber([this] { return Byte(); });
}

void StreamReader::Read(std::span<std::uint8_t> out) {
    while (!out.empty()) {
        if (piece_.empty()) Refill();
        const std::size_t count = std::min(out.size(), piece_.size());
        std::copy_n(piece_.begin(), count, out.begin());
        piece_ = piece_.subspan(count);
        out = out.subspan(count);
    }
}

}  // namespace delta
