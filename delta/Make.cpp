#include "delta/Make.h"

#include <algorithm>
#include <optional>

#include "delta/DiffFormat.h"
#include "delta/Streams.h"

namespace delta {
namespace {

using Output = std::span<std::uint8_t>;

// Below this zstd hardly ever saves a byte, and trying it would take much of the time.
constexpr std::uint64_t kTinyPayload = 128;

struct Inputs {
    ByteView oldFile;
    ByteView newFile;
};

// Differing and fresh bytes, which cost time and room; copied ones cost neither.
std::uint64_t CountCoded(const Inputs& files, std::span<const Segment> segments) {
    std::uint64_t count = 0;
    std::uint64_t newAt = 0;
    for (const Segment& segment : segments) {
        const ByteView before = files.oldFile.subspan(segment.oldAt, segment.copied);
        const ByteView after = files.newFile.subspan(newAt, segment.copied);
        for (std::size_t i = 0; i < before.size(); ++i) count += before[i] != after[i] ? 1U : 0U;
        count += segment.fresh;
        newAt += std::uint64_t{segment.copied} + segment.fresh;
    }
    return count;
}

std::optional<std::size_t> WriteModelled(const Inputs& files, const Workspace::Parts& found,
                                         SegmentModels& models, Output room) {
    RangeEncoder encoder(room);
    SegmentCodec<RangeEncoder> codec(encoder, models, files.oldFile, files.newFile);
    for (const Segment& segment : found.segments) {
        codec.Code(segment);
        if (encoder.Full()) return std::nullopt;
    }
    const std::size_t size = encoder.Finish();
    if (encoder.Full()) return std::nullopt;
    return size;
}

// Tries methods, and keeps the payload of the best so far. Payloads are written after a place for
// the head, so that the finished diff is in one piece without being moved.
class Contest {
public:
    Contest(const Inputs& files, Workspace::Parts& parts)
        : files_(files), parts_(parts), size_(files.newFile.size()) {}

    // Room for a payload that is smaller than the best so far.
    [[nodiscard]] Output Room() {
        return parts_.trial.Take(kMostOverhead + size_ - 1).subspan(kMostOverhead);
    }

    // `write` fills Room() from the front and returns the bytes written, or nothing.
    template <typename Write>
    void Try(Method method, Write write) {
        if (size_ == 0) return;
        const std::optional<std::size_t> size = write(Room());
        if (!size) return;
        size_ = *size;
        method_ = method;
        std::swap(parts_.best, parts_.trial);
    }

    // Of the smallest payload.
    [[nodiscard]] std::uint64_t Size() const noexcept { return size_; }

    [[nodiscard]] ByteView Finish() {
        const Output whole = parts_.best.Take(kMostOverhead + size_);
        const Output payload = whole.subspan(kMostOverhead);
        if (method_ == Method::Stored) std::ranges::copy(files_.newFile, payload.begin());
        const ByteBuffer head = MakeHead(method_, files_.oldFile, files_.newFile, payload);
        const Output diff = whole.subspan(kMostOverhead - head.size());
        std::ranges::copy(head, diff.begin());
        return diff;
    }

private:
    const Inputs& files_;
    Workspace::Parts& parts_;
    Method method_ = Method::Stored;
    std::uint64_t size_;
};

void TrySegments(const Inputs& files, Workspace::Parts& parts, const MakePlan& plan,
                 Contest& contest) {
    parts.index.Build(files.oldFile, *plan.index);
    FindSegments(files.oldFile, files.newFile, parts.index, parts.segments);
    if (CountCoded(files, parts.segments) <= MostModelledBytes(files.newFile.size())) {
        contest.Try(Method::Modelled,
                    [&](Output room) { return WriteModelled(files, parts, parts.models, room); });
    } else if (plan.streams) {
        contest.Try(Method::Streams, [&](Output room) {
            return WriteStreams(SegmentStreams(files.oldFile, files.newFile, parts.segments), room);
        });
    }
}

// A quick look first: a slow level seldom gains more than an eighth.
void TryZstd(const Inputs& files, Workspace::Parts& parts, const MakePlan& plan, Contest& contest) {
    if (contest.Size() <= kTinyPayload) return;
    const auto pack = [&](int level, Output room) {
        return parts.zstd.Pack(files.newFile, files.oldFile, level, room);
    };
    const auto quick = pack(plan.quickLevel, parts.trial.Take(files.newFile.size() - 1));
    if (quick.value_or(files.newFile.size()) > contest.Size() + contest.Size() / 8) return;
    contest.Try(Method::ZstdAfter, [&](Output room) { return pack(plan.zstdLevel, room); });
}

}  // namespace

ByteView Make(ByteView oldFile, ByteView newFile, Workspace::Parts& parts, const MakePlan& plan) {
    const Inputs files{oldFile, newFile};
    Contest contest(files, parts);
    if (plan.index) TrySegments(files, parts, plan, contest);
    if (plan.zstdLevel != 0) TryZstd(files, parts, plan, contest);
    return contest.Finish();
}

}  // namespace delta
