#pragma once

#include "delta/BitModel.h"

namespace vdiff {

// Predicts the bytes of the new file that are not copied, from what stands before them, from
// earlier places that went on the same way, and from the bytes that stand there in the old file.
class FreshModel {
public:
    explicit FreshModel(ByteView oldFile, std::uint64_t newSize);

    // Learns from the old file around `at`, where fresh bytes are about to follow.
    void LearnAround(std::uint64_t at);

    // Codes the byte behind `before`, all of the new file up to it; `oldAt` is where the old file
    // would go on.
    template <typename Coder>
    std::uint8_t CodeFresh(Coder& coder, ByteView before, std::uint64_t oldAt, std::uint8_t value) {
        Prepare(before, old_.size(), oldAt);
        value = CodeByte(coder, model_, value);
        matchGoesOn_ = value == expected_;
        return value;
    }

private:
    void Prepare(ByteView before, std::uint64_t base, std::uint64_t oldAt);
    void FindMatch(ByteView before, std::uint64_t base);
    [[nodiscard]] int ByteAt(std::uint64_t place, ByteView before) const;

    ByteView old_;
    MixedModel model_;
    // Places are counted through the old file and on through the new one. Past 4 GiB they wrap, and
    // a place that is wrong predicts badly, no more.
    std::vector<std::uint32_t> places_;  // by hash of the bytes before: the latest such place
    std::uint64_t match_ = 0;
    std::uint64_t matchLength_ = 0;
    std::uint8_t expected_ = 0;
    bool matchGoesOn_ = false;
    std::uint64_t learntTo_ = 0;
    std::uint64_t lessonsLeft_;
};

}  // namespace vdiff
