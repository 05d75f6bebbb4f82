// Method 1 of a diff: segments coded with adaptive models.
#pragma once

#include <algorithm>
#include <type_traits>

#include "delta/DifferenceModel.h"
#include "delta/FreshModel.h"
#include "delta/RangeCoder.h"
#include "delta/Segment.h"

namespace delta {

// All models of method 1. Large, so reused from one pair to the next.
struct SegmentModels {
    // Clears all models and borrows `oldFile`.
    void Begin(ByteView oldFile, std::uint64_t newSize) {
        distance = NumberModel();
        copied = NumberModel();
        fresh = NumberModel();
        differs = BitHistory::Even();
        differences.Begin(oldFile);
        freshBytes.Begin(oldFile, newSize);
    }

    // Returns the memory that the models of such a pair take in addition to this object, in bytes.
    static std::uint64_t Memory(std::uint64_t oldSize, std::uint64_t newSize) {
        return 2 * HistoryTable::Memory(DifferenceModel::TableBits(oldSize)) +
               HistoryTable::Memory(FreshModel::TableBits(oldSize, newSize));
    }

    [[nodiscard]] std::uint64_t MemoryHeld() const noexcept {
        return differences.MemoryHeld() + freshBytes.MemoryHeld();
    }

    NumberModel distance;
    NumberModel copied;
    NumberModel fresh;
    BitHistory differs = BitHistory::Even();
    DifferenceModel differences;
    FreshModel freshBytes;
};

// Writes or reads a new file as segments, depending on the coder. Encoding and decoding share this
// code, so the models cannot diverge.
//
// A segment is coded as its place (numbers); a bit, set if any byte of the copy differs; if so, a
// flag for each copied byte and the difference of those that differ; then the fresh bytes. An equal
// copy costs a few bits, however long it is.
//
// A decoder throws Error (Damaged) for segments that leave a file. Borrows its arguments, and
// clears the models first.
template <typename Coder>
class SegmentCodec {
public:
    using NewFile = std::conditional_t<Coder::kDecodes, std::span<std::uint8_t>, ByteView>;

    SegmentCodec(Coder& coder, SegmentModels& models, ByteView oldFile, NewFile newFile)
        : coder_(coder), models_(models), old_(oldFile), new_(newFile) {
        models_.Begin(oldFile, newFile.size());
    }

    [[nodiscard]] bool AtEnd() const noexcept { return newAt_ == new_.size(); }

    // Codes the next segment. A decoder ignores `segment`.
    void Code(const Segment& segment) {
        Place place{segment.oldAt, segment.copied, segment.fresh};
        CodePlace(place);
        CodeCopy(place);
        if (place.fresh != 0) models_.freshBytes.LearnAround(oldEnd_);
        for (std::uint64_t i = 0; i < place.fresh && !Stopped(); ++i, ++newAt_) {
            CodeFresh(oldEnd_ + i);
        }
    }

    // Returns the number of differing and fresh bytes coded so far.
    [[nodiscard]] std::uint64_t Coded() const noexcept { return coded_; }

private:
    // A segment as a diff may declare it, before it is checked.
    struct Place {
        std::uint64_t oldAt;
        std::uint64_t copied;
        std::uint64_t fresh;
    };

    // Returns true for an encoder without room left: the result is discarded, so a long segment
    // need not be finished.
    [[nodiscard]] bool Stopped() const {
        if constexpr (Coder::kDecodes) {
            return false;
        } else {
            return coder_.Full();
        }
    }

    [[nodiscard]] std::uint8_t Expected() const {
        return Coder::kDecodes ? std::uint8_t{0} : new_[newAt_];
    }

    void Store(std::uint8_t byte) {
        if constexpr (Coder::kDecodes) new_[newAt_] = byte;
    }

    // Codes the three numbers of a segment. A copy of n bytes is coded as n + 1, and 0 means a copy
    // of all bytes left, the most frequent case, which has no count of fresh bytes.
    void CodePlace(Place& place) {
        const std::uint64_t left = new_.size() - newAt_;
        const std::uint64_t distance = models_.distance.Code(
            coder_, FoldSign(static_cast<std::int64_t>(place.oldAt - oldEnd_)));
        place.oldAt = oldEnd_ + static_cast<std::uint64_t>(UnfoldSign(distance));
        const std::uint64_t copied =
            models_.copied.Code(coder_, place.copied == left ? 0 : place.copied + 1);
        place.copied = copied == 0 ? left : copied - 1;
        if (place.copied > left || place.oldAt > old_.size() ||
            place.copied > old_.size() - place.oldAt) {
            ThrowDamaged("a segment leaves its file");
        }
        if (place.copied == left) {
            place.fresh = 0;
            return;
        }
        place.fresh = models_.fresh.Code(coder_, place.fresh);
        if (place.fresh > left - place.copied || place.copied + place.fresh == 0) {
            ThrowDamaged("a segment leaves its file");
        }
    }

    void CodeCopy(const Place& place) {
        const ByteView source = old_.subspan(place.oldAt, place.copied);
        oldEnd_ = place.oldAt + place.copied;
        if (place.copied == 0) return;
        bool differs = false;
        if constexpr (!Coder::kDecodes) {
            differs = !std::ranges::equal(source, new_.subspan(newAt_, place.copied));
        }
        differs =
            coder_.Code(differs, std::clamp(models_.differs.Probability(), models::kMinDiffers,
                                            65535U - models::kMinDiffers));
        models_.differs.Learn(differs, models::kDiffersLimit);
        if (differs) {
            for (std::uint64_t i = 0; i < place.copied && !Stopped(); ++i, ++newAt_) {
                CodeCopied(place.oldAt + i);
            }
        } else {
            if constexpr (Coder::kDecodes) std::ranges::copy(source, new_.subspan(newAt_).begin());
            newAt_ += place.copied;
        }
    }

    void CodeCopied(std::uint64_t oldAt) {
        const std::uint8_t before = old_[oldAt];
        const std::uint8_t after = Expected();
        if (!models_.differences.CodeFlag(coder_, oldAt, before != after)) {
            Store(before);
        } else {
            ++coded_;
            const auto delta = static_cast<std::uint8_t>(after - before);
            Store(static_cast<std::uint8_t>(before +
                                            models_.differences.CodeDelta(coder_, oldAt, delta)));
        }
    }

    void CodeFresh(std::uint64_t oldAt) {
        ++coded_;
        Store(
            models_.freshBytes.CodeFresh(coder_, ByteView(new_).first(newAt_), oldAt, Expected()));
    }

    Coder& coder_;
    SegmentModels& models_;
    ByteView old_;
    NewFile new_;
    std::uint64_t newAt_ = 0;
    std::uint64_t oldEnd_ = 0;  // end of the last copy in the old file
    std::uint64_t coded_ = 0;
};

}  // namespace delta
