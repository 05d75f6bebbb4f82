#include "delta/DifferenceModel.h"

namespace delta {

// Tables that outgrow the processor's second-level cache cost more time than they save bytes.
int DifferenceModel::TableBits(std::uint64_t oldSize) {
    return std::clamp(static_cast<int>(std::bit_width(oldSize)), models::kMinTableBits,
                      models::kMaxDifferenceBits);
}

void DifferenceModel::Begin(ByteView oldFile) {
    quick_.fill(BitHistory(models::kRareDifference));
    flags_.Clear(TableBits(oldFile.size()));
    deltas_.Clear(TableBits(oldFile.size()));
    Continue(oldFile);
}

void DifferenceModel::Continue(ByteView oldFile) {
    old_ = oldFile;
    sinceDifference_ = models::kStartDistance;
    lastGap_ = models::kStartDistance;
    run_ = 0;
    deltaInRun_ = {};
    lastDelta_ = 0;
    target_ = 0;
    word_ = 0;
}

void DifferenceModel::SetFlagContexts(std::uint64_t at) {
    const std::uint32_t distance = Distance();
    const std::uint32_t before = OldByte(at - 1);
    const std::uint32_t before2 = OldByte(at - 2);
    const auto run = static_cast<std::uint32_t>(run_);
    const auto since = static_cast<std::uint32_t>(std::min(sinceDifference_, models::kFarGap));
    const auto gap = static_cast<std::uint32_t>(std::min(lastGap_, models::kFarGap));
    // The contexts: the byte before (1); the three bytes before, such as an instruction that holds
    // an address (2); the byte itself (3); the spacing of differences, for tables (4); the word
    // here, for pointers to moved content (5); the run so far and its last difference, for
    // carries (6).
    flags_.SetContexts(
        {HashContext({1, before, distance}),
         HashContext({2, before, before2, OldByte(at - 3), distance}),
         HashContext({3, OldByte(at), before, distance}), HashContext({4, since, gap}),
         HashContext({5, OldWord(at), distance == 0 ? run : models::kNotInRun}),
         HashContext({6, run, lastDelta_, OldByte(at), distance})},
        std::min<std::size_t>(distance, models::kDifferenceSets - 1));
}

void DifferenceModel::SetDeltaContexts(std::uint64_t at) {
    if (run_ == 0) {
        word_ = OldWord(at);
        target_ = word_ + static_cast<std::uint32_t>(at);
    }
    const auto place = static_cast<std::uint32_t>(std::min<std::uint64_t>(run_, 7));
    const std::uint32_t same = deltaInRun_.at(place);
    const std::uint32_t first = deltaInRun_[0];
    // Every context includes the byte's position in the run. In addition: the difference at this
    // position in the last run (1), and that of the byte before (2); the target of the word read as
    // a distance, rounded (3) and exact (4), since neighbours move together; the old byte (5); the
    // target of the word read as an address (6); the old bytes and how the run began (7); the old
    // byte and the difference before it, for a carry (8).
    deltas_.SetContexts(
        {HashContext({1, place, same}), HashContext({2, place, same, lastDelta_}),
         HashContext({3, place, target_ >> 10, lastDelta_}),
         HashContext({4, place, target_, lastDelta_}), HashContext({5, place, OldByte(at), same}),
         HashContext({6, place, word_ >> 10, lastDelta_}),
         HashContext({7, place, first, OldByte(at - 1), OldByte(at)}),
         HashContext({8, place, lastDelta_, OldByte(at)})},
        place);
}

void DifferenceModel::Note(std::uint8_t delta) {
    deltaInRun_.at(std::min<std::uint64_t>(run_, 7)) = delta;
    lastDelta_ = delta;
    if (run_ == 0) lastGap_ = sinceDifference_;
    ++run_;
    sinceDifference_ = 0;
}

}  // namespace delta
