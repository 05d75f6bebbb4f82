// The model of fresh bytes: those of the new file that are not copied.
#pragma once

#include "delta/MixedModel.h"

namespace delta {

// Predicts fresh bytes from three sources: the last bytes, in contexts of none to six of them; the
// byte after the latest earlier occurrence of the last four bytes, in either file; and the old byte
// that a copy would continue with. Most pairs have too few fresh bytes to learn from, so the model
// first learns the old bytes around them, which are of the same kind.
//
// Keeps its tables from one pair of files to the next; Begin clears them.
class FreshModel {
public:
    // Resets the models and borrows this old file. Cheap: the first LearnAround or CodeFresh
    // sets up the tables, since a pair without fresh bytes needs none.
    void Begin(ByteView oldFile, std::uint64_t newSize);

    // Returns the binary logarithm of the length of the table.
    static int TableBits(std::uint64_t oldSize, std::uint64_t newSize);

    // Learns the old file's bytes around `at`, where fresh bytes are about to follow.
    void LearnAround(std::uint64_t at);

    [[nodiscard]] std::uint64_t MemoryHeld() const noexcept { return model_.MemoryHeld(); }

    // Codes the byte that follows `before`, the new file so far. `oldAt` is the offset in the old
    // file that a copy would continue at. Returns the byte.
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
    // By the hash of four bytes: the offset after their latest occurrence. Offsets count through
    // the old file and then the new one. They wrap at 4 GiB; a wrong offset only predicts badly.
    std::array<std::uint32_t, std::size_t{1} << models::kPlaceBits> places_;
    std::uint64_t match_ = 0;        // offset of the byte that is expected next
    std::uint64_t matchLength_ = 0;  // equal bytes before it; 0 if no byte is expected
    std::uint8_t expected_ = 0;
    bool matchContinues_ = false;  // the last byte was the expected one
    std::uint64_t learntTo_ = 0;   // end of the old bytes that were learnt
    std::uint64_t lessonsLeft_ = 0;
};

}  // namespace delta
