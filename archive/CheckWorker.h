// Judges members, the gaps between them and the index, for Check. One thread at a time for each
// worker; any number of workers on one reader.
//
// A member that reaches past the start of the next one is not read, so no byte is read twice.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "archive/Check.h"
#include "archive/CheckMeter.h"
#include "archive/CheckOrder.h"

namespace archive {

// The findings of one worker. Their offsets rise, so that the first findings of all workers
// together are among the first of each: no worker needs to keep more.
class CheckFindings {
public:
    explicit CheckFindings(std::size_t most) : most_(most) {}

    void Add(Fault fault, std::uint64_t offset, std::string_view member, std::string text) {
        ++(IsDamage(fault) ? damages_ : oddities_);
        if (kept_.size() < most_) {
            kept_.push_back({fault, offset, std::string(member), std::move(text)});
        }
    }
    void MoveInto(Judgement& judgement) {
        judgement.damages += damages_;
        judgement.oddities += oddities_;
        std::ranges::move(kept_, std::back_inserter(judgement.findings));
    }

private:
    std::size_t most_;
    std::vector<Finding> kept_;
    std::uint64_t damages_ = 0;
    std::uint64_t oddities_ = 0;
};

class CheckWorker {
public:
    // A worker that `reports` runs on the caller's thread. Borrows all of them.
    CheckWorker(const Reader& reader, const CheckOrder& order, const CheckOptions& options,
                CheckMeter& meter, bool reports);

    // Judges runs of members, with the gaps before them, until all are taken or the check stops.
    void Work(CheckRuns& runs);
    // Judge what belongs to no member.
    void JudgeIndex();
    void JudgeEnd();

    [[nodiscard]] CheckFindings& Found() { return found_; }

private:
    void JudgeMember(std::size_t i);
    [[nodiscard]] bool ChunkAgrees(std::uint32_t ordinal, const Member& member,
                                   std::uint64_t start);
    void JudgeContent(const Member& member);
    void JudgeName(std::uint32_t ordinal, const Member& member, std::uint64_t start);
    void JudgeGap(std::uint64_t from, std::uint64_t to);
    // Judges one chunk of a gap and returns its end; `from` if no chunk that can be skipped starts
    // there.
    [[nodiscard]] std::uint64_t JudgeGapChunk(std::uint64_t from, std::uint64_t to);

    // Counts what was judged: bytes of the file, and the work that they were, in bytes too.
    void Count(std::uint64_t fileBytes, std::uint64_t work);

    const Contents& contents_;
    const CheckOrder& order_;
    ContentReader content_;
    const bool judgesContent_;
    CheckMeter& meter_;
    const bool reports_;
    std::uint64_t uncounted_ = 0;  // bytes of the file, and work, since the meter was told
    std::uint64_t work_ = 0;
    CheckFindings found_;
};

}  // namespace archive
