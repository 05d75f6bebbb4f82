// Predicts bytes that no copy gives, as delta::FreshModel does for one pair of files, but learns
// from all members of a compact patch: what the first ones taught makes the later ones cheap.
//
// Beside the contexts of that model it looks for what followed the same bytes among the fresh ones
// of earlier members. Some contexts know which member they belong to, others do not: what holds for
// all members and what holds for one are both learnt, and the mixer finds out which to trust.
#pragma once

#include <cstdint>
#include <vector>

#include "delta/Bytes.h"
#include "delta/MixedModel.h"
#include "patch/compact/TaggedHistories.h"

namespace patch::compact {

using delta::ByteBuffer;
using delta::ByteView;

class FreshBytes {
public:
    FreshBytes();

    // Goes on to another member, and borrows the content that its copies come from.
    void Begin(ByteView oldFile);

    // Codes the byte after `before`, which is all of the member up to it; `oldAt` is the place of
    // the old content that a copy would continue with. Returns the byte.
    template <typename Coder>
    std::uint8_t Code(Coder& coder, ByteView before, std::uint64_t oldAt, std::uint8_t value) {
        Prepare(before, oldAt);
        value = model_.CodeByte(coder, value);
        near_.continues = value == near_.expected;
        past_.continues = value == past_.expected;
        Remember(value);
        return value;
    }

private:
    // A place after which the same bytes stood before.
    struct Match {
        std::uint64_t at = 0;      // whose byte is expected next
        std::uint64_t length = 0;  // bytes before it that agree; 0 if nothing is expected
        std::uint8_t expected = 0;
        bool continues = false;  // the last byte was the expected one

        void Advance();
    };

    static constexpr std::size_t kInputs = 8;
    static constexpr std::size_t kWeightSets = 12;

    void Prepare(ByteView before, std::uint64_t oldAt);
    void IndexOld();
    void FindNear(ByteView before, std::uint32_t key);
    void FindPast(ByteView before, std::uint32_t key);
    void Remember(std::uint8_t value);
    [[nodiscard]] int NearByte(std::uint64_t place, ByteView before) const;

    delta::MixedModel<kInputs, kWeightSets, TaggedHistories> model_;
    ByteView old_;
    std::uint32_t member_ = 0;
    // Places by the hash of the bytes before them: in the old content and on through the member,
    // and among the fresh bytes of earlier members. 0 is none.
    bool oldIsIndexed_ = false;
    std::vector<std::uint32_t> nearPlaces_;
    std::vector<std::uint32_t> pastPlaces_;
    ByteBuffer history_;            // the latest fresh bytes, a ring
    std::uint64_t remembered_ = 0;  // that were ever put there
    Match near_;
    Match past_;
};

}  // namespace patch::compact
