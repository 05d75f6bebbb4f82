#pragma once

#include <algorithm>
#include <type_traits>

#include "delta/DifferenceModel.h"
#include "delta/FreshModel.h"
#include "delta/RangeCoder.h"
#include "delta/Span.h"

namespace vdiff {

// Writes or reads a new file as spans, depending on the coder: the same steps serve both, so that
// the models see the same. As a decoder it throws PatchError (DamagedDiff) for spans that leave a
// file.
template <typename Coder>
class SpanCodec {
public:
    using NewFile = std::conditional_t<Coder::kDecodes, std::span<std::uint8_t>, ByteView>;

    SpanCodec(Coder& coder, ByteView oldFile, NewFile newFile)
        : coder_(coder),
          old_(oldFile),
          new_(newFile),
          differences_(oldFile),
          freshModel_(oldFile, newFile.size()) {}

    [[nodiscard]] bool AtEnd() const noexcept { return newAt_ == new_.size(); }

    // Codes the next span. A decoder ignores `span`.
    void Code(Span span) {
        CodePlace(span);
        CodeCopy(span);
        if (span.fresh != 0) freshModel_.LearnAround(oldEnd_);
        for (std::uint64_t i = 0; i < span.fresh; ++i, ++newAt_) CodeFresh(oldEnd_ + i);
    }

private:
    [[nodiscard]] std::uint8_t Expected() const {
        return Coder::kDecodes ? std::uint8_t{0} : new_[newAt_];
    }

    void Store(std::uint8_t byte) {
        if constexpr (Coder::kDecodes) new_[newAt_] = byte;
    }

    // 0 stands for all that is left.
    void CodePlace(Span& span) {
        const std::uint64_t left = new_.size() - newAt_;
        const std::uint64_t distance =
            distance_.Code(coder_, FoldSign(static_cast<std::int64_t>(span.oldAt - oldEnd_)));
        span.oldAt = oldEnd_ + static_cast<std::uint64_t>(UnfoldSign(distance));
        const std::uint64_t copied =
            copied_.Code(coder_, span.copied == left ? 0 : span.copied + 1);
        span.copied = copied == 0 ? left : copied - 1;
        if (span.copied > left || span.oldAt > old_.size() ||
            span.copied > old_.size() - span.oldAt) {
            ThrowDamaged("a span leaves its file");
        }
        if (span.copied == left) {
            span.fresh = 0;
            return;
        }
        span.fresh = fresh_.Code(coder_, span.fresh);
        if (span.fresh > left - span.copied || span.copied + span.fresh == 0) {
            ThrowDamaged("a span leaves its file");
        }
    }

    void CodeCopy(const Span& span) {
        const ByteView source = old_.subspan(span.oldAt, span.copied);
        oldEnd_ = span.oldAt + span.copied;
        if (span.copied == 0) return;
        bool differs = false;
        if constexpr (!Coder::kDecodes)
            differs = !std::ranges::equal(source, new_.subspan(newAt_, span.copied));
        const std::uint32_t p = differs_.Probability();
        differs = coder_.Code(differs, std::clamp(p, 64U, 65535U - 64));
        differs_.Learn(differs, 30);
        if (differs) {
            for (std::uint64_t i = 0; i < span.copied; ++i, ++newAt_) CodeCopied(span.oldAt + i);
        } else {
            if constexpr (Coder::kDecodes) std::ranges::copy(source, new_.subspan(newAt_).begin());
            newAt_ += span.copied;
        }
    }

    void CodeCopied(std::uint64_t oldAt) {
        const std::uint8_t before = old_[oldAt];
        const std::uint8_t after = Expected();
        if (!differences_.CodeFlag(coder_, oldAt, before != after)) {
            Store(before);
        } else {
            const auto delta = static_cast<std::uint8_t>(after - before);
            Store(static_cast<std::uint8_t>(before + differences_.CodeDelta(coder_, oldAt, delta)));
        }
    }

    void CodeFresh(std::uint64_t oldAt) {
        Store(freshModel_.CodeFresh(coder_, ByteView(new_).first(newAt_), oldAt, Expected()));
    }

    Coder& coder_;
    ByteView old_;
    NewFile new_;
    std::uint64_t newAt_ = 0;
    std::uint64_t oldEnd_ = 0;  // of the last copy
    NumberModel distance_;
    NumberModel copied_;
    NumberModel fresh_;
    BitHistory differs_;
    DifferenceModel differences_;
    FreshModel freshModel_;
};

}  // namespace vdiff
