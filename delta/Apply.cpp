#include "delta/Apply.h"

#include <algorithm>
#include <limits>

#include "delta/DiffFormat.h"
#include "delta/SpanCodec.h"
#include "delta/Streams.h"
#include "delta/Zstd.h"

namespace vdiff {
namespace {

using Output = std::span<std::uint8_t>;

// Follows the streams of a Streams payload (see SpanStreams).
class SpanPlayer {
public:
    SpanPlayer(ByteView oldFile, ByteReader payload)
        : old_(oldFile), control_(payload), gaps_(payload), values_(payload), fresh_(payload) {
        if (!payload.Rest().empty()) ThrowDamaged("bytes follow its streams");
        NextGap();
    }

    void Play(Output out);

private:
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

ByteView SpanPlayer::TakeOld(std::int64_t distance, std::uint64_t count) {
    const std::uint64_t from = oldAt_ + static_cast<std::uint64_t>(distance);
    if (from > old_.size() || count > old_.size() - from) ThrowDamaged("it leaves the old file");
    oldAt_ = from + count;
    return old_.subspan(from, count);
}

void SpanPlayer::AddDifferences(Output copied) {
    while (gap_ < copied.size()) {
        copied[gap_] = static_cast<std::uint8_t>(copied[gap_] + values_.Byte());
        copied = copied.subspan(gap_ + 1);
        NextGap();
    }
    gap_ -= copied.size();
}

void SpanPlayer::Play(Output out) {
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
    if (!control_.AtEnd() || !gaps_.AtEnd() || !values_.AtEnd() || !fresh_.AtEnd()) {
        ThrowDamaged("a stream is too long");
    }
}

void DecodeModelled(ByteView oldFile, ByteView payload, Output out) {
    RangeDecoder decoder(payload);
    SpanCodec<RangeDecoder> codec(decoder, oldFile, out);
    while (!codec.AtEnd()) codec.Code({});
}

void CheckOldFile(const Header& header, ByteView oldFile) {
    if (oldFile.size() == header.oldSize && OldCheck(oldFile) == header.oldCheck) return;
    throw PatchError(ExitCode::WrongOldFile,
                     "the old file is not the one that the diff was made from");
}

void Unpack(const ParsedDiff& parsed, ByteView oldFile, Output out) {
    switch (parsed.header.method) {
        case Method::Stored:
            if (parsed.payload.size() != out.size())
                ThrowDamaged("its stored file has another size");
            std::ranges::copy(parsed.payload, out.begin());
            break;
        case Method::Modelled:
            DecodeModelled(oldFile, parsed.payload, out);
            break;
        case Method::Streams:
            SpanPlayer(oldFile, ByteReader(parsed.payload)).Play(out);
            break;
        case Method::ZstdAfter:
            UnpackZstd(parsed.payload, oldFile, out);
            break;
    }
}

}  // namespace

Buffer ApplyDiff(ByteView oldFile, ByteView diff) {
    const ParsedDiff parsed = Parse(diff);
    CheckOldFile(parsed.header, oldFile);
    Buffer made(parsed.header.newSize);
    Unpack(parsed, oldFile, {made.bytes.get(), made.size});
    if (!CheckHolds(parsed, diff, made.View())) ThrowDamaged("its check does not hold");
    return made;
}

}  // namespace vdiff
