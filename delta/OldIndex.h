#pragma once

#include <cstdint>
#include <vector>

#include "delta/Bytes.h"

namespace vdiff {

// Finds places of the old file by the bytes that stand there: a hash table over keys of
// KeySize() bytes, taken at every Step()th byte. Both grow with the file, so that memory stays near
// a quarter of its size. Borrows the file, which is below 4 GiB.
class OldIndex {
public:
    explicit OldIndex(ByteView oldFile);

    [[nodiscard]] std::size_t KeySize() const noexcept { return shape_.keySize; }
    [[nodiscard]] std::size_t Step() const noexcept { return shape_.step; }

    // Calls visit(position) for places that may hold the KeySize() bytes at `key`, latest first;
    // at most kMaxCandidates of them.
    template <typename Visit>
    void ForCandidates(const std::uint8_t* key, Visit visit) const {
        std::uint32_t entry = heads_[Slot(key)];
        for (int i = 0; entry != kNone && i < kMaxCandidates; ++i) {
            visit(std::uint64_t{entry} * shape_.step);
            entry = previous_[entry];
        }
    }

private:
    struct Shape {
        std::size_t keySize;
        std::size_t step;
    };

    static constexpr std::uint32_t kNone = 0xffffffffU;
    static constexpr int kMaxCandidates = 16;

    static Shape ShapeFor(std::uint64_t oldSize);
    [[nodiscard]] std::size_t Slot(const std::uint8_t* key) const;

    Shape shape_;
    int hashShift_ = 0;
    std::vector<std::uint32_t> heads_;     // by hash: number of the latest key
    std::vector<std::uint32_t> previous_;  // by number: the key before it with the same hash
};

}  // namespace vdiff
