#pragma once

#include "delta/BitModel.h"

namespace vdiff {

// Predicts which bytes of a copied span differ, and what has to be added to them. Programs are what
// it looks for most: after a rebuild, distances and addresses differ by how far their target moved.
class DifferenceModel {
public:
    explicit DifferenceModel(ByteView oldFile);

    // Codes whether the copy of the old file's byte `at` differs.
    template <typename Coder>
    bool CodeFlag(Coder& coder, std::uint64_t at, bool differs) {
        BitHistory& quick = BeginFlag(at);
        const std::uint32_t p = quick.Probability();
        if (p < kUnlikely) {
            differs = coder.Code(differs, p == 0 ? 1 : p);
        } else {
            SetFlagContexts(at);
            differs = coder.Code(differs, flags_.Predict(1));
            flags_.Learn(differs);
        }
        quick.Learn(differs, kQuickLimit);
        ++sinceDifference_;
        if (!differs) run_ = 0;
        return differs;
    }

    // Codes new minus old, modulo 256, of a byte that differs.
    template <typename Coder>
    std::uint8_t CodeDelta(Coder& coder, std::uint64_t at, std::uint8_t delta) {
        SetDeltaContexts(at);
        delta = CodeByte(coder, deltas_, delta);
        Note(delta);
        return delta;
    }

private:
    static constexpr std::uint32_t kUnlikely = 160;
    static constexpr std::uint32_t kQuickLimit = 1000;

    [[nodiscard]] std::uint32_t OldByte(std::uint64_t at) const {
        return at < old_.size() ? old_[at] : 0U;
    }
    [[nodiscard]] std::uint32_t OldWord(std::uint64_t at) const;
    [[nodiscard]] std::uint32_t Distance() const;
    BitHistory& BeginFlag(std::uint64_t at);
    void SetFlagContexts(std::uint64_t at);
    void SetDeltaContexts(std::uint64_t at);
    void Note(std::uint8_t delta);

    ByteView old_;
    std::vector<BitHistory> quick_;
    MixedModel flags_;
    MixedModel deltas_;

    std::uint64_t sinceDifference_ = 64;
    std::uint64_t lastGap_ = 64;
    std::uint64_t run_ = 0;                     // differing bytes right before this one
    std::array<std::uint8_t, 8> deltaInRun_{};  // by place in its run: the last delta there
    std::uint32_t lastDelta_ = 0;
    std::uint32_t target_ = 0;  // where the word at the start of the run points to
    std::uint32_t word_ = 0;
};

}  // namespace vdiff
