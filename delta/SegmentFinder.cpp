// Scans the new file with one alignment to the old file at a time. An alignment is kept while it
// yields equal bytes, and the segment ends where the index finds a clearly better one. CloseSegment
// then decides, byte by byte, where the first copy ends and the next begins.
#include "delta/Segment.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace delta {
namespace {

// An exact match must have this many more equal bytes than the current alignment to pay for the
// numbers of another segment.
constexpr std::uint64_t kMinGain = 12;

// The equal bytes that make up for a differing one when a copy is extended.
constexpr std::int64_t kMismatchCost = 2;

// Rewritten content shorter than this is coded as differences, which costs less than a segment.
// Content counts as rewritten if fewer than one byte in kMaxEqualShare is equal.
constexpr std::uint64_t kMinRewritten = 256;
constexpr std::uint64_t kMaxEqualShare = 16;

std::uint64_t EqualBytes(const std::uint8_t* a, const std::uint8_t* b, std::uint64_t limit) {
    std::uint64_t count = 0;
    for (; count + 8 <= limit; count += 8) {
        std::uint64_t wordA = 0;
        std::uint64_t wordB = 0;
        std::memcpy(&wordA, a + count, 8);
        std::memcpy(&wordB, b + count, 8);
        if (wordA != wordB) break;
    }
    while (count < limit && a[count] == b[count]) ++count;
    return count;
}

std::uint64_t EqualBytesBefore(const std::uint8_t* a, const std::uint8_t* b, std::uint64_t limit) {
    std::uint64_t count = 0;
    while (count < limit && *(a - count - 1) == *(b - count - 1)) ++count;
    return count;
}

class SegmentFinder {
public:
    SegmentFinder(ByteView oldFile, ByteView newFile, const OldIndex& index,
                  std::vector<Segment>& segments)
        : old_(oldFile), new_(newFile), index_(index), segments_(segments) {}

    void Run();

private:
    // A run of `length` equal bytes at these offsets of the two files.
    struct Match {
        std::uint64_t oldAt = 0;
        std::uint64_t newAt = 0;
        std::uint64_t length = 0;
    };

    [[nodiscard]] std::uint64_t AlignedRun(std::uint64_t newAt) const;
    // Returns the offset in the old file that the current segment aligns with `newAt`.
    [[nodiscard]] std::uint64_t OldAt(std::uint64_t newAt) const {
        return oldStart_ + (newAt - newStart_);
    }
    [[nodiscard]] bool IsRewritten(std::uint64_t from, std::uint64_t to) const;
    [[nodiscard]] std::uint64_t AlignedMatches(const Match& match) const;
    [[nodiscard]] Match LongestMatch(std::uint64_t newAt) const;
    [[nodiscard]] std::uint64_t ForwardLength(std::uint64_t newEnd) const;
    [[nodiscard]] std::uint64_t BackwardLength(const Match& match) const;
    [[nodiscard]] std::uint64_t SplitOverlap(const Match& match, std::uint64_t forward,
                                             std::uint64_t overlap) const;
    void CloseSegment(const Match& next);
    void AddSegment(std::uint64_t copied, std::uint64_t fresh);

    ByteView old_;
    ByteView new_;
    const OldIndex& index_;
    std::vector<Segment>& segments_;

    // The segment being made: where it starts in both files.
    std::uint64_t oldStart_ = 0;
    std::uint64_t newStart_ = 0;
};

// Returns the number of equal bytes from `newAt` on if the current segment continues there.
std::uint64_t SegmentFinder::AlignedRun(std::uint64_t newAt) const {
    const std::uint64_t oldAt = OldAt(newAt);
    if (oldAt >= old_.size()) return 0;
    return EqualBytes(old_.data() + oldAt, new_.data() + newAt,
                      std::min(old_.size() - oldAt, new_.size() - newAt));
}

// Returns whether the new content here replaced old content of the same length, so nearly all bytes
// differ. The copy then ends before them, and the next one begins after them at the same alignment.
// Extending the copy over them would lower its score so far that everything after them would become
// fresh.
bool SegmentFinder::IsRewritten(std::uint64_t from, std::uint64_t to) const {
    if (to - from < kMinRewritten) return false;
    std::uint64_t equal = 0;
    for (std::uint64_t at = from; at < to; ++at) equal += old_[OldAt(at)] == new_[at] ? 1U : 0U;
    return equal < (to - from) / kMaxEqualShare;
}

// Returns the number of bytes of `match` that the current alignment predicts as well.
std::uint64_t SegmentFinder::AlignedMatches(const Match& match) const {
    const std::uint64_t oldAt = OldAt(match.newAt);
    if (oldAt >= old_.size()) return 0;
    const std::uint64_t limit = std::min<std::uint64_t>(match.length, old_.size() - oldAt);
    const std::uint8_t* a = old_.data() + oldAt;
    const std::uint8_t* b = new_.data() + match.newAt;
    std::uint64_t count = 0;
    for (std::uint64_t i = 0; i < limit; ++i) count += a[i] == b[i] ? 1U : 0U;
    return count;
}

// Returns the longest match for the bytes at `newAt`. Candidates are extended backwards as well,
// because the index, with steps between its keys, finds a match in its middle.
SegmentFinder::Match SegmentFinder::LongestMatch(std::uint64_t newAt) const {
    Match best;
    const std::uint8_t* key = new_.data() + newAt;
    index_.ForCandidates(key, [&](std::uint64_t oldAt) {
        const std::uint64_t after = EqualBytes(old_.data() + oldAt, key,
                                               std::min(old_.size() - oldAt, new_.size() - newAt));
        if (after < index_.KeySize()) return;
        const std::uint64_t before =
            EqualBytesBefore(old_.data() + oldAt, key, std::min(oldAt, newAt - newStart_));
        if (before + after <= best.length) return;
        best = {oldAt - before, newAt - before, before + after};
    });
    return best;
}

// Returns the length of the current copy: the one with the best score that does not pass `newEnd`.
std::uint64_t SegmentFinder::ForwardLength(std::uint64_t newEnd) const {
    const std::uint64_t limit = std::min(newEnd - newStart_, old_.size() - oldStart_);
    std::int64_t score = 0;
    std::int64_t bestScore = 0;
    std::uint64_t best = 0;
    for (std::uint64_t i = 0; i < limit; ++i) {
        score += old_[oldStart_ + i] == new_[newStart_ + i] ? 1 : -kMismatchCost;
        if (score > bestScore) {
            bestScore = score;
            best = i + 1;
        }
    }
    return best;
}

// Returns the number of bytes before `match` that its copy should include, by the same score.
std::uint64_t SegmentFinder::BackwardLength(const Match& match) const {
    const std::uint64_t limit = std::min(match.newAt - newStart_, match.oldAt);
    std::int64_t score = 0;
    std::int64_t bestScore = 0;
    std::uint64_t best = 0;
    for (std::uint64_t i = 1; i <= limit; ++i) {
        score += old_[match.oldAt - i] == new_[match.newAt - i] ? 1 : -kMismatchCost;
        if (score > bestScore) {
            bestScore = score;
            best = i;
        }
    }
    return best;
}

// Splits the `overlap` bytes that both copies would include: returns how many of them the current
// copy keeps.
std::uint64_t SegmentFinder::SplitOverlap(const Match& match, std::uint64_t forward,
                                          std::uint64_t overlap) const {
    const std::uint64_t from = newStart_ + forward - overlap;
    std::int64_t score = 0;
    std::int64_t bestScore = 0;
    std::uint64_t best = 0;
    for (std::uint64_t i = 0; i < overlap; ++i) {
        const std::uint8_t wanted = new_[from + i];
        if (old_[oldStart_ + forward - overlap + i] == wanted) ++score;
        if (old_[match.oldAt + (from + i) - match.newAt] == wanted) --score;
        if (score > bestScore) {
            bestScore = score;
            best = i + 1;
        }
    }
    return best;
}

// Ends the current segment and starts the next one at `next`.
void SegmentFinder::CloseSegment(const Match& next) {
    std::uint64_t forward = ForwardLength(next.newAt);
    std::uint64_t backward = BackwardLength(next);
    const std::uint64_t room = next.newAt - newStart_;
    if (forward + backward > room) {
        const std::uint64_t overlap = forward + backward - room;
        const std::uint64_t kept = SplitOverlap(next, forward, overlap);
        forward -= overlap - kept;
        backward -= kept;
    }
    AddSegment(forward, room - forward - backward);
    oldStart_ = next.oldAt - backward;
    newStart_ = next.newAt - backward;
}

void SegmentFinder::AddSegment(std::uint64_t copied, std::uint64_t fresh) {
    if (copied + fresh != 0) {
        segments_.push_back({static_cast<std::uint32_t>(oldStart_),
                             static_cast<std::uint32_t>(copied),
                             static_cast<std::uint32_t>(fresh)});
    }
}

void SegmentFinder::Run() {
    // After a run this long the search is skipped: no other match would be much better.
    const std::uint64_t goodRun = index_.KeySize() + index_.Step();
    std::uint64_t scan = 0;
    std::uint64_t goodEnd = 0;  // where the last run of equal bytes ended
    while (scan + index_.KeySize() <= new_.size()) {
        const std::uint64_t run = AlignedRun(scan);
        if (run >= goodRun) {
            if (IsRewritten(goodEnd, scan)) CloseSegment({OldAt(scan), scan, run});
            scan += run;
            goodEnd = scan;
            continue;
        }
        const Match match = LongestMatch(scan);
        if (match.length > AlignedMatches(match) + kMinGain) {
            CloseSegment(match);
            scan = match.newAt + match.length;
            goodEnd = scan;
        } else {
            ++scan;
        }
    }
    const std::uint64_t copied = ForwardLength(new_.size());
    AddSegment(copied, new_.size() - newStart_ - copied);
}

}  // namespace

void FindSegments(ByteView oldFile, ByteView newFile, const OldIndex& index,
                  std::vector<Segment>& segments) {
    segments.clear();
    // Reserve all at once: growing by doubling would hold up to half as much again, while unused
    // pages take no memory.
    segments.reserve(MostSegments(newFile.size(), index.KeySize()));
    SegmentFinder(oldFile, newFile, index, segments).Run();
}

}  // namespace delta
