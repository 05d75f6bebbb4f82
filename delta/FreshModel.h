#pragma once

#include "delta/BitModel.h"

namespace delta {

// Predicts the bytes of the new file that are not copied, from what is before them, from earlier
// places that continued the same way, and from the bytes at the same place of the old file.
// Keeps its tables from one pair of files to the next; Begin forgets what they hold.
class FreshModel {
public:
    // Starts anew for this old file, which stays borrowed. Nearly free until LearnAround or
    // CodeFresh is called: a pair without fresh bytes needs no tables.
    void Begin(ByteView oldFile, std::uint64_t newSize);

    // Binary logarithm of the length of the table.
    static int TableBits(std::uint64_t oldSize, std::uint64_t newSize);

    // Learns from the old file around `at`, where fresh bytes are about to follow.
    void LearnAround(std::uint64_t at);

    [[nodiscard]] std::uint64_t MemoryHeld() const noexcept { return model_.MemoryHeld(); }

    // Codes the byte after `before`, all of the new file up to it; `oldAt` is where the old file
    // would continue.
    template <typename Coder>
    std::uint8_t CodeFresh(Coder& coder, ByteView before, std::uint64_t oldAt, std::uint8_t value) {
        Prepare(before, old_.size(), oldAt);
        value = CodeByte(coder, model_, value);
        matchContinues_ = value == expected_;
        return value;
    }

private:
    void MakeTables();
    void Prepare(ByteView before, std::uint64_t base, std::uint64_t oldAt);
    void FindMatch(ByteView before, std::size_t slot, std::uint64_t base);
    [[nodiscard]] int ByteAt(std::uint64_t place, ByteView before) const;

    ByteView old_;
    int tableBits_ = 0;
    bool tablesMade_ = false;
    MixedModel<models::kFreshInputs, models::kFreshSets> model_;
    // Places are counted through the old file and on through the new one. Past 4 GiB they wrap, and
    // a place that is wrong predicts badly, no more.
    // By hash of the bytes before: the latest such place.
    std::array<std::uint32_t, std::size_t{1} << models::kPlaceBits> places_;
    std::uint64_t match_ = 0;
    std::uint64_t matchLength_ = 0;
    std::uint8_t expected_ = 0;
    bool matchContinues_ = false;
    std::uint64_t learntTo_ = 0;
    std::uint64_t lessonsLeft_ = 0;
};

}  // namespace delta
