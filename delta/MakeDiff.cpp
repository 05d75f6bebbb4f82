#include "delta/MakeDiff.h"

#include <algorithm>
#include <optional>

#include "delta/DiffFormat.h"
#include "delta/SpanCodec.h"
#include "delta/Streams.h"
#include "delta/Zstd.h"

namespace vdiff {
namespace {

using Output = std::span<std::uint8_t>;

// The models take about a microsecond for a byte that differs or is fresh. Up to this many such
// bytes (and a share of the file) they stay faster than sorting the old file would be.
constexpr std::uint64_t kModelledBytes = 128U << 10;
constexpr std::uint64_t kModelledShare = 8;

// Up to this size the slowest level costs little.
constexpr std::uint64_t kSmallFile = 64U << 10;

// Below this zstd hardly ever saves a byte, and setting it up would take a fifth of the time.
constexpr std::uint64_t kTinyPayload = 128;

struct Inputs {
    ByteView oldFile;
    ByteView newFile;
};

// Differing and fresh bytes, which cost time and room; copied ones cost neither.
std::uint64_t CountCoded(const Inputs& files, std::span<const Span> spans) {
    std::uint64_t count = 0;
    std::uint64_t newAt = 0;
    for (const Span& span : spans) {
        const ByteView before = files.oldFile.subspan(span.oldAt, span.copied);
        const ByteView after = files.newFile.subspan(newAt, span.copied);
        for (std::size_t i = 0; i < before.size(); ++i) count += before[i] != after[i] ? 1U : 0U;
        count += span.fresh;
        newAt += span.copied + span.fresh;
    }
    return count;
}

std::optional<std::size_t> WriteModelled(const Inputs& files, std::span<const Span> spans,
                                         Output room) {
    RangeEncoder encoder(room);
    SpanCodec<RangeEncoder> codec(encoder, files.oldFile, files.newFile);
    for (const Span& span : spans) {
        codec.Code(span);
        if (encoder.Full()) return std::nullopt;
    }
    const std::size_t size = encoder.Finish();
    if (encoder.Full()) return std::nullopt;
    return size;
}

// Tries methods, and keeps the payload of the best so far.
class Contest {
public:
    explicit Contest(ByteView newFile) : size_(newFile.size()) {}

    // `write` fills a buffer from the front and returns the bytes written, or nothing. The buffer
    // ends where the payload would no longer be the smallest.
    template <typename Write>
    void Try(Method method, Write write) {
        if (size_ == 0) return;
        Buffer room(size_ - 1);
        const std::optional<std::size_t> size = write(Output(room.bytes.get(), room.size));
        if (!size) return;
        room.size = *size;
        size_ = *size;
        method_ = method;
        best_ = std::move(room);
    }

    [[nodiscard]] std::uint64_t Size() const noexcept { return size_; }

    [[nodiscard]] Diff Finish(const Inputs& files) && {
        Diff diff;
        diff.owned = std::move(best_);
        diff.payload = method_ == Method::Stored ? files.newFile : diff.owned.View();
        diff.head = MakeHead(method_, files.oldFile, files.newFile, diff.payload);
        return diff;
    }

private:
    Method method_ = Method::Stored;
    Buffer best_{0};
    std::uint64_t size_;
};

void TrySpans(const Inputs& files, Contest& contest) {
    const std::vector<Span> spans = FindSpans(files.oldFile, files.newFile);
    const std::uint64_t limit = kModelledBytes + files.newFile.size() / kModelledShare;
    const bool modelled = CountCoded(files, spans) <= limit;
    if (modelled) {
        contest.Try(Method::Modelled,
                    [&](Output room) { return WriteModelled(files, spans, room); });
    }
    if (!modelled) {
        contest.Try(Method::Streams, [&](Output room) {
            return WriteStreams(SpanStreams(files.oldFile, files.newFile, spans), room);
        });
    }
}

// A quick look first: a slow level seldom gains more than an eighth.
void TryZstd(const Inputs& files, Contest& contest) {
    if (contest.Size() <= kTinyPayload) return;
    const auto pack = [&](int level) {
        return [&files, level](Output room) {
            return PackZstd(files.newFile, files.oldFile, level, room);
        };
    };
    Contest quick(files.newFile);
    quick.Try(Method::ZstdAfter, pack(3));
    if (quick.Size() > contest.Size() + contest.Size() / 8) return;
    contest.Try(Method::ZstdAfter, pack(files.newFile.size() <= kSmallFile ? 19 : 12));
}

}  // namespace

Diff MakeDiff(ByteView oldFile, ByteView newFile) {
    if (std::max(oldFile.size(), newFile.size()) > kMaxFileSize) {
        throw PatchError(ExitCode::TooLarge, "a file has 4 GiB or more");
    }
    const Inputs files{oldFile, newFile};
    Contest contest(newFile);
    TrySpans(files, contest);
    TryZstd(files, contest);
    return std::move(contest).Finish(files);
}

}  // namespace vdiff
