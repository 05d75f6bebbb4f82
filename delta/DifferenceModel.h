// The model of copied bytes that differ.
#pragma once

#include <algorithm>

#include "delta/MixedModel.h"

namespace delta {

// Predicts which bytes of a copied segment differ, and what has to be added to them.
//
// Designed mainly for programs: after a rebuild, code is the same except for distances and
// addresses, which change by how far their target moved. So differences come in runs of up to four
// bytes, follow certain bytes (instructions that hold an address), and repeat for the same target.
//
// Most copied bytes are equal. A small table without mixing decides where a difference is unlikely,
// so the slower models run only where they can save something.
//
// Keeps its tables from one pair of files to the next; Begin clears them.
class DifferenceModel {
public:
    // Resets the models and borrows this old file.
    void Begin(ByteView oldFile);

    // Borrows this old file instead of the one before, and keeps the state of the models.
    void Continue(ByteView oldFile);

    // Returns the binary logarithm of the length of each of the two tables.
    static int TableBits(std::uint64_t oldSize);

    [[nodiscard]] std::uint64_t MemoryHeld() const noexcept {
        return flags_.MemoryHeld() + deltas_.MemoryHeld();
    }

    // Codes whether the copy of the old file's byte `at` differs, and returns it.
    template <typename Coder>
    bool CodeFlag(Coder& coder, std::uint64_t at, bool differs) {
        BitHistory& quick =
            quick_[(at == 0 ? 0 : OldByte(at - 1)) * models::kDistances + Distance()];
        const std::uint32_t p = quick.Probability();
        if (p < models::kUnlikely) {
            differs = coder.Code(differs, p == 0 ? 1 : p);
        } else {
            SetFlagContexts(at);
            differs = flags_.CodeBit(coder, differs);
        }
        quick.Learn(differs, models::kQuickLimit);
        ++sinceDifference_;
        if (!differs) run_ = 0;
        return differs;
    }

    // Codes the new byte minus the old one, modulo 256, for a byte that differs. Returns the
    // difference.
    template <typename Coder>
    std::uint8_t CodeDelta(Coder& coder, std::uint64_t at, std::uint8_t delta) {
        SetDeltaContexts(at);
        delta = deltas_.CodeByte(coder, delta);
        Note(delta);
        return delta;
    }

private:
    using Flags = MixedModel<models::kFlagInputs, models::kDifferenceSets>;
    using Deltas = MixedModel<models::kDeltaInputs, models::kDifferenceSets>;

    [[nodiscard]] std::uint32_t OldByte(std::uint64_t at) const {
        return at < old_.size() ? old_[at] : 0U;
    }
    [[nodiscard]] std::uint32_t OldWord(std::uint64_t at) const {
        return OldByte(at) | OldByte(at + 1) << 8 | OldByte(at + 2) << 16 | OldByte(at + 3) << 24;
    }

    // Returns the class of the distance to the last difference: exact if small, else by bit width.
    [[nodiscard]] std::uint32_t Distance() const {
        if (sinceDifference_ <= models::kExactDistances) {
            return static_cast<std::uint32_t>(sinceDifference_);
        }
        return std::min<std::uint32_t>(
            models::kDistances - 1,
            models::kDistanceOffset + static_cast<std::uint32_t>(std::bit_width(sinceDifference_)));
    }

    void SetFlagContexts(std::uint64_t at);
    void SetDeltaContexts(std::uint64_t at);
    void Note(std::uint8_t delta);

    ByteView old_;
    // Indexed by the byte before and the distance class.
    std::array<BitHistory, std::size_t{256} * models::kDistances> quick_;
    Flags flags_;
    Deltas deltas_;

    std::uint64_t sinceDifference_ = 0;
    std::uint64_t lastGap_ = 0;
    std::uint64_t run_ = 0;                     // differing bytes right before this one
    std::array<std::uint8_t, 8> deltaInRun_{};  // by place in its run: the last delta there
    std::uint32_t lastDelta_ = 0;
    std::uint32_t target_ = 0;  // of the old word at the start of the run, read as a distance
    std::uint32_t word_ = 0;    // that word, read as an address
};

}  // namespace delta
