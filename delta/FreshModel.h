#pragma once

#include "delta/MixedModel.h"

namespace delta {

// Predicts the bytes of the new file that are not copied.
//
// Three sources: the bytes before, in contexts of none to six of them; the latest earlier place
// after the same four bytes, in either file, which may simply continue; and the old byte that would
// be copied here. Fresh bytes are mostly few, too few to learn from, so the model first learns the
// old bytes around their place, which are of the same kind.
//
// Keeps its tables from one pair of files to the next; Begin forgets their content.
class FreshModel {
public:
    // Forgets everything and borrows this old file. Nearly free: the tables are set up by the first
    // LearnAround or CodeFresh, since a pair without fresh bytes needs none.
    void Begin(ByteView oldFile, std::uint64_t newSize);

    // Returns the binary logarithm of the length of the table.
    static int TableBits(std::uint64_t oldSize, std::uint64_t newSize);

    // Learns the old file's bytes around `at`, where fresh bytes are about to follow.
    void LearnAround(std::uint64_t at);

    [[nodiscard]] std::uint64_t MemoryHeld() const noexcept { return model_.MemoryHeld(); }

    // Codes the byte after `before`, which is all of the new file up to it; `oldAt` is the place of
    // the old file that a copy would continue with. Returns the byte.
    template <typename Coder>
    std::uint8_t CodeFresh(Coder& coder, ByteView before, std::uint64_t oldAt, std::uint8_t value) {
        Prepare(before, old_.size(), oldAt);
        value = model_.CodeByte(coder, value);
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
    // The latest place after the same bytes, by their hash. Places are counted through the old file
    // and on through the new one. Past 4 GiB they wrap: a wrong place only predicts badly.
    std::array<std::uint32_t, std::size_t{1} << models::kPlaceBits> places_;
    std::uint64_t match_ = 0;        // the place whose byte is expected next
    std::uint64_t matchLength_ = 0;  // bytes before it that agree; 0 if nothing is expected
    std::uint8_t expected_ = 0;
    bool matchContinues_ = false;  // the last byte was the expected one
    std::uint64_t learntTo_ = 0;   // end of the old bytes that were learnt
    std::uint64_t lessonsLeft_ = 0;
};

}  // namespace delta
