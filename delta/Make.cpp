#include "delta/Make.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "delta/DiffFormat.h"
#include "delta/Streams.h"

namespace delta {
namespace {

using Output = std::span<std::uint8_t>;

// Below this payload size zstd hardly ever saves a byte, and trying it would take most of the time.
constexpr std::uint64_t kTinyPayload = 128;

struct Inputs {
    ByteView oldFile;
    ByteView newFile;
};

// Counts of the bytes that cost time and size to code; equal copied bytes cost neither.
struct CodedBytes {
    std::uint64_t differing = 0;
    std::uint64_t fresh = 0;

    [[nodiscard]] std::uint64_t All() const { return differing + fresh; }
};

CodedBytes CountCoded(const Inputs& files, std::span<const Segment> segments) {
    CodedBytes count;
    std::uint64_t newAt = 0;
    for (const Segment& segment : segments) {
        const ByteView before = files.oldFile.subspan(segment.oldAt, segment.copied);
        const ByteView after = files.newFile.subspan(newAt, segment.copied);
        for (std::size_t i = 0; i < before.size(); ++i) {
            count.differing += before[i] != after[i] ? 1U : 0U;
        }
        count.fresh += segment.fresh;
        newAt += std::uint64_t{segment.copied} + segment.fresh;
    }
    return count;
}

std::optional<std::size_t> WriteModelled(const Inputs& files, Workspace::Parts& parts,
                                         Output room) {
    RangeEncoder encoder(room);
    SegmentCodec<RangeEncoder> codec(encoder, parts.models, files.oldFile, files.newFile);
    for (const Segment& segment : parts.segments) {
        codec.Code(segment);
        if (encoder.Full()) return std::nullopt;
    }
    const std::size_t size = encoder.Finish();
    if (encoder.Full()) return std::nullopt;
    return size;
}

// Tries methods, and keeps the smallest payload so far. Each payload is written after room for the
// head, so the finished diff is contiguous and need not be moved.
class Contest {
public:
    // `room` is the size of the largest payload that is tried.
    Contest(const Inputs& files, Workspace::Parts& parts, std::uint64_t room)
        : files_(files), parts_(parts), room_(room), size_(files.newFile.size()) {}

    // Returns room for a payload smaller than the best so far, so a larger one fails early.
    [[nodiscard]] Output Room() {
        return parts_.trial.Take(kMostOverhead + std::min(size_ - 1, room_)).subspan(kMostOverhead);
    }

    // Calls `write` to fill Room() from the front. It returns the bytes written, or nullopt if they
    // do not fit.
    template <typename Write>
    void Try(Method method, Write write) {
        if (size_ == 0) return;
        const std::optional<std::size_t> size = write(Room());
        if (!size) return;
        size_ = *size;
        method_ = method;
        std::swap(parts_.best, parts_.trial);
    }

    // Returns the size of the smallest payload.
    [[nodiscard]] std::uint64_t Size() const noexcept { return size_; }
    [[nodiscard]] bool IsStored() const noexcept { return method_ == Method::Stored; }

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
    const std::uint64_t room_;
    Method method_ = Method::Stored;
    std::uint64_t size_;
};

// Chooses the methods to try for one pair. Trying all of them would take several times as long.
class Maker {
public:
    Maker(const Inputs& files, Workspace::Parts& parts, const MakePlan& plan)
        : files_(files), parts_(parts), plan_(plan), contest_(files, parts, plan.room) {}

    ByteView Run() {
        if (plan_.index) TrySegments();
        if (plan_.zstdLevel != 0) TryZstd();
        if (plan_.sharesRoom && contest_.IsStored()) ReleaseTables();
        return contest_.Finish();
    }

private:
    void TrySegments();
    void TryZstd();
    void ReleaseTables();
    [[nodiscard]] std::uint64_t QuickSize();
    [[nodiscard]] bool ModelsAreInVain(const CodedBytes& coded);

    std::optional<std::size_t> PackZstd(int level, Output room) {
        return parts_.zstd.Pack(files_.newFile, files_.oldFile, level, room);
    }

    const Inputs& files_;
    Workspace::Parts& parts_;
    const MakePlan& plan_;
    Contest contest_;
    std::optional<std::uint64_t> quickSize_;
    bool noise_ = false;
};

// Returns the size of the new file packed by a quick level of zstd, or its plain size if that is
// smaller.
std::uint64_t Maker::QuickSize() {
    if (!quickSize_) {
        const std::size_t most = files_.newFile.size();
        const Output room = parts_.trial.Take(std::min<std::uint64_t>(most - 1, plan_.room));
        quickSize_ = PackZstd(plan_.quickLevel, room).value_or(most);
    }
    return *quickSize_;
}

// Returns whether most of the work would be fresh bytes that are noise, such as packed or encrypted
// content: the models would spend a third of a microsecond on each and save nothing. Two tests must
// agree: zstd on the whole new file, and the models on a first sample.
bool Maker::ModelsAreInVain(const CodedBytes& coded) {
    constexpr std::uint64_t kWorthAsking = 16U << 10;
    constexpr std::size_t kSample = 4U << 10;
    constexpr std::uint64_t kLongFresh = 256;  // below, segments cost more than their fresh bytes
    if (plan_.zstdLevel == 0 || coded.fresh < kWorthAsking || coded.differing > coded.fresh / 10 ||
        coded.fresh < kLongFresh * parts_.segments.size()) {
        return false;
    }
    // Noise shrinks by less than 2 % with zstd, and by less than 1 % with the models.
    if (QuickSize() < coded.fresh - coded.fresh / 50) return false;
    RangeEncoder encoder(parts_.trial.Take(kSample));
    SegmentCodec<RangeEncoder> codec(encoder, parts_.models, files_.oldFile, files_.newFile);
    for (const Segment& segment : parts_.segments) {
        codec.Code(segment);
        if (encoder.Full()) break;
    }
    return encoder.Full() && codec.Coded() <= kSample + kSample / 100;
}

void Maker::TrySegments() {
    parts_.index.Build(files_.oldFile, *plan_.index);
    FindSegments(files_.oldFile, files_.newFile, parts_.index, parts_.segments);
    // The models make smaller diffs; streams are faster where many bytes have to be coded.
    const CodedBytes coded = CountCoded(files_, parts_.segments);
    if (coded.All() <= MostModelledBytes(files_.newFile.size())) {
        noise_ = ModelsAreInVain(coded);
        if (noise_) return;
        contest_.Try(Method::Modelled,
                     [&](Output room) { return WriteModelled(files_, parts_, room); });
    } else if (plan_.streams) {
        contest_.Try(Method::Streams, [&](Output room) {
            return WriteStreams(SegmentStreams(files_.oldFile, files_.newFile, parts_.segments),
                                room);
        });
    }
}

// Tries zstd, unless its quick level shows that it cannot win: a slow level rarely saves more than
// an eighth over the quick one.
void Maker::TryZstd() {
    if (contest_.Size() <= kTinyPayload) return;
    if (noise_ && QuickSize() == files_.newFile.size()) return;
    if (QuickSize() > contest_.Size() + contest_.Size() / 8) return;
    contest_.Try(Method::ZstdAfter, [&](Output room) { return PackZstd(plan_.zstdLevel, room); });
}

// Frees the tables before a diff that stores the new content takes their memory (see sharesRoom).
void Maker::ReleaseTables() {
    std::destroy_at(&parts_);
    std::construct_at(&parts_);
}

}  // namespace

ByteView Make(ByteView oldFile, ByteView newFile, Workspace::Parts& parts, const MakePlan& plan) {
    const Inputs files{oldFile, newFile};
    return Maker(files, parts, plan).Run();
}

}  // namespace delta
