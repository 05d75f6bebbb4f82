#include "delta/Apply.h"

#include <algorithm>
#include <limits>

#include "delta/DiffFormat.h"
#include "delta/SegmentCodec.h"
#include "delta/Streams.h"
#include "delta/Zstd.h"

namespace delta {
namespace {

using Output = std::span<std::uint8_t>;

// Makes the new file from the four streams of a Streams payload (see SegmentStreams).
class SegmentPlayer {
public:
    SegmentPlayer(ByteView oldFile, ByteReader payload)
        : old_(oldFile), control_(payload), gaps_(payload), values_(payload), fresh_(payload) {
        if (!payload.Rest().empty()) ThrowDamaged("bytes follow its streams");
        NextGap();
    }

    // Fills `out`. Every number is checked before it is used: a diff may be hostile.
    void Play(Output out);

private:
    // After the last difference the gap never ends.
    void NextGap() {
        gap_ = gaps_.AtEnd() ? std::numeric_limits<std::uint64_t>::max() : gaps_.Number();
    }
    ByteView TakeOld(std::int64_t distance, std::uint64_t count);
    void AddDifferences(Output copied);

    ByteView old_;
    StreamReader control_;
    StreamReader gaps_;
    StreamReader values_;
    StreamReader fresh_;
    std::uint64_t oldAt_ = 0;
    std::uint64_t gap_ = 0;  // unchanged bytes before the next difference
};

ByteView SegmentPlayer::TakeOld(std::int64_t distance, std::uint64_t count) {
    const std::uint64_t from = oldAt_ + static_cast<std::uint64_t>(distance);
    if (from > old_.size() || count > old_.size() - from) ThrowDamaged("it leaves the old file");
    oldAt_ = from + count;
    return old_.subspan(from, count);
}

void SegmentPlayer::AddDifferences(Output copied) {
    while (gap_ < copied.size()) {
        copied[gap_] = static_cast<std::uint8_t>(copied[gap_] + values_.Byte());
        copied = copied.subspan(gap_ + 1);
        NextGap();
    }
    gap_ -= copied.size();
}

void SegmentPlayer::Play(Output out) {
    while (!out.empty()) {
        const std::int64_t distance = UnfoldSign(control_.Number());
        const std::uint64_t copyCount = control_.Number();
        const std::uint64_t freshCount = control_.Number();
        if (copyCount > out.size() || freshCount > out.size() - copyCount) {
            ThrowDamaged("it leaves the new file");
        }
        const Output copied = out.first(copyCount);
        std::ranges::copy(TakeOld(distance, copyCount), copied.begin());
        AddDifferences(copied);
        fresh_.Read(out.subspan(copyCount, freshCount));
        out = out.subspan(copyCount + freshCount);
    }
    // Refuse unused bytes: the check covers them, so one result would have many valid diffs.
    if (!control_.AtEnd() || !gaps_.AtEnd() || !values_.AtEnd() || !fresh_.AtEnd()) {
        ThrowDamaged("a stream is too long");
    }
}

void DecodeModelled(ByteView oldFile, ByteView payload, SegmentModels& models, Output out) {
    RangeDecoder decoder(payload);
    SegmentCodec<RangeDecoder> codec(decoder, models, oldFile, out);
    while (!codec.AtEnd()) codec.Code({});
}

void CheckOldFile(const Header& header, ByteView oldFile) {
    if (oldFile.size() == header.oldSize && OldCheck(oldFile) == header.oldCheck) return;
    throw Error(ErrorKind::WrongOld, "the old file is not the one that the diff was made from");
}

void Unpack(const ParsedDiff& parsed, ByteView oldFile, Workspace::Parts& parts, Output out) {
    switch (parsed.header.method) {
        case Method::Stored:
            if (parsed.payload.size() != out.size()) {
                ThrowDamaged("its stored file has another size");
            }
            std::ranges::copy(parsed.payload, out.begin());
            break;
        case Method::Modelled:
            DecodeModelled(oldFile, parsed.payload, parts.models, out);
            break;
        case Method::Streams:
            SegmentPlayer(oldFile, ByteReader(parsed.payload)).Play(out);
            break;
        case Method::ZstdAfter:
            parts.zstd.Unpack(parsed.payload, oldFile, out);
            break;
    }
}

}  // namespace

std::uint64_t MemoryToApply(const Header& header) {
    // The size of libzstd's context. It needs no window: it decodes directly into the output.
    constexpr std::uint64_t kUnpackZstd = 256U << 10;
    std::uint64_t memory = sizeof(Workspace::Parts) + header.newSize;
    if (header.method == Method::Modelled) {
        memory += SegmentModels::Memory(header.oldSize, header.newSize);
    } else if (header.method == Method::Streams) {
        memory += StreamReadersMemory();
    } else if (header.method == Method::ZstdAfter) {
        memory += kUnpackZstd;
    }
    return memory;
}

ByteView Apply(ByteView oldFile, ByteView diff, Workspace::Parts& parts, std::uint64_t sizeLimit) {
    const ParsedDiff parsed = Parse(diff);
    CheckOldFile(parsed.header, oldFile);
    if (parsed.header.newSize > sizeLimit) {
        throw Error(ErrorKind::TooLarge, "the diff makes more than the limit allows");
    }
    const Output made = parts.applied.Take(parsed.header.newSize);
    Unpack(parsed, oldFile, parts, made);
    if (!CheckHolds(parsed, diff, made)) ThrowDamaged("its check does not hold");
    return made;
}

}  // namespace delta
