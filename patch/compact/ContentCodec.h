// Writes or reads the content of one member as copies and fresh bytes. One function serves both
// ways, so that the models cannot learn different things on the two sides.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <type_traits>

#include "delta/DifferenceModel.h"
#include "delta/RangeCoder.h"
#include "delta/Segment.h"
#include "patch/compact/FreshBytes.h"

namespace patch::compact {

// The models' state, kept from member to member.
struct ContentModels {
    ContentModels() { differences.Begin({}); }

    delta::NumberModel distance;
    delta::NumberModel copied;
    delta::NumberModel fresh;
    delta::BitHistory differs = delta::BitHistory::Even();
    delta::BitHistory noise = delta::BitHistory::Even();
    delta::DifferenceModel differences;
    FreshBytes freshBytes;
};

// Whether bytes are as good as random, such as those of packed pictures and sounds, so that models
// would take their time and gain nothing.
[[nodiscard]] bool IsNoise(ByteView bytes);

// Codes `content`, made of pieces of `old` by `segments` (which a decoder ignores). A decoder
// throws delta::Error (Damaged) for what leaves either content.
template <typename Coder>
class ContentCodec {
public:
    using Content = std::conditional_t<Coder::kDecodes, std::span<std::uint8_t>, ByteView>;

    ContentCodec(Coder& coder, ContentModels& models) : coder_(coder), models_(models) {}

    void Code(ByteView old, Content content, std::span<const delta::Segment> segments) {
        old_ = old;
        content_ = content;
        at_ = 0;
        oldEnd_ = 0;
        models_.differences.Continue(old);
        models_.freshBytes.Begin(old);
        if constexpr (Coder::kDecodes) {
            while (at_ < content_.size()) CodeSegment({});
        } else {
            for (const delta::Segment& segment : segments) CodeSegment(segment);
        }
    }

private:
    static constexpr std::uint64_t kJudged = 256;     // shorter runs of fresh bytes are never noise
    static constexpr std::uint64_t kPiece = 1 << 14;  // that is judged at a time

    bool CodeFlag(delta::BitHistory& history, bool flag) {
        using namespace delta::models;
        flag =
            coder_.Code(flag, std::clamp(history.Probability(), kMinDiffers, 65535U - kMinDiffers));
        history.Learn(flag, kDiffersLimit);
        return flag;
    }

    // Copied bytes are counted as n + 1, and 0 is all that is left: then no fresh ones follow.
    void CodeSegment(const delta::Segment& segment) {
        const std::uint64_t left = content_.size() - at_;
        std::uint64_t oldAt = segment.oldAt;
        oldAt =
            oldEnd_ + static_cast<std::uint64_t>(delta::UnfoldSign(models_.distance.Code(
                          coder_, delta::FoldSign(static_cast<std::int64_t>(oldAt - oldEnd_)))));
        std::uint64_t copied = models_.copied.Code(
            coder_, segment.copied == left ? 0 : std::uint64_t{segment.copied} + 1);
        copied = copied == 0 ? left : copied - 1;
        if (copied > left || oldAt > old_.size() || copied > old_.size() - oldAt) {
            delta::ThrowDamaged("a copy leaves its content");
        }
        const std::uint64_t fresh = copied == left ? 0 : models_.fresh.Code(coder_, segment.fresh);
        if (fresh > left - copied || copied + fresh == 0) {
            delta::ThrowDamaged("fresh bytes leave their content");
        }
        CodeCopy(oldAt, copied);
        for (std::uint64_t done = 0; done < fresh; done += std::min(kPiece, fresh - done)) {
            CodeFresh(std::min(kPiece, fresh - done));
        }
    }

    void CodeCopy(std::uint64_t oldAt, std::uint64_t copied) {
        const ByteView source = old_.subspan(oldAt, copied);
        oldEnd_ = oldAt + copied;
        if (copied == 0) return;
        bool differs = false;
        if constexpr (!Coder::kDecodes) {
            differs = !std::ranges::equal(source, content_.subspan(at_, copied));
        }
        if (!CodeFlag(models_.differs, differs)) {
            if constexpr (Coder::kDecodes) std::ranges::copy(source, content_.begin() + Offset());
            at_ += copied;
            return;
        }
        for (std::uint64_t i = 0; i < copied; ++i, ++at_) CodeCopied(oldAt + i);
    }

    void CodeCopied(std::uint64_t oldAt) {
        const std::uint8_t before = old_[oldAt];
        std::uint8_t after = Expected();
        if (!models_.differences.CodeFlag(coder_, oldAt, before != after)) {
            return Store(before);
        }
        const auto delta = static_cast<std::uint8_t>(after - before);
        after =
            static_cast<std::uint8_t>(before + models_.differences.CodeDelta(coder_, oldAt, delta));
        Store(after);
    }

    void CodeFresh(std::uint64_t count) {
        bool noise = false;
        if constexpr (!Coder::kDecodes) {
            noise = count >= kJudged && IsNoise(content_.subspan(at_, count));
        }
        if (count >= kJudged) noise = CodeFlag(models_.noise, noise);
        for (const std::uint64_t end = at_ + count; at_ < end; ++at_) {
            if (noise) {
                Store(CodePlainByte(Expected()));
            } else {
                const std::uint64_t oldAt = oldEnd_ + (count - (end - at_));
                Store(models_.freshBytes.Code(coder_, ByteView(content_).first(at_), oldAt,
                                              Expected()));
            }
        }
    }

    std::uint8_t CodePlainByte(std::uint8_t value) {
        std::uint32_t coded = 0;
        for (int i = 7; i >= 0; --i) {
            coded = coded << 1 | (coder_.Code((value >> i & 1) != 0, 1U << 15) ? 1U : 0U);
        }
        return static_cast<std::uint8_t>(coded);
    }

    [[nodiscard]] std::ptrdiff_t Offset() const { return static_cast<std::ptrdiff_t>(at_); }

    [[nodiscard]] std::uint8_t Expected() const {
        return Coder::kDecodes ? std::uint8_t{0} : content_[at_];
    }

    void Store(std::uint8_t byte) {
        if constexpr (Coder::kDecodes) content_[at_] = byte;
    }

    Coder& coder_;
    ContentModels& models_;
    ByteView old_;
    Content content_;
    std::uint64_t at_ = 0;
    std::uint64_t oldEnd_ = 0;  // end of the last copy in the old content
};

}  // namespace patch::compact
