// A hash index of the old file, to find matching bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "delta/Bytes.h"

namespace delta {

// Finds offsets in the old file by the bytes there, with a hash table over keys of KeySize() bytes
// at every Step()th byte. Any match of KeySize() + Step() - 1 bytes or more contains a key, so none
// of that length is missed. Both numbers grow with the file, which bounds the memory. Keeps its
// tables from one file to the next.
class OldIndex {
public:
    struct Shape {
        std::size_t keySize;
        std::size_t step;
    };

    // Returns the shape of an index of at most `memoryLimit` bytes for an old file of this size:
    // the usual one, or one with longer steps, which misses short matches. nullopt if none fits.
    static std::optional<Shape> ShapeFor(std::uint64_t oldSize, std::uint64_t memoryLimit);

    // Returns the memory that the index of such a file takes, in bytes.
    static std::uint64_t Memory(std::uint64_t oldSize, Shape shape);

    // Indexes `oldFile`, which replaces the file before. It must be below 4 GiB; it is not
    // borrowed.
    void Build(ByteView oldFile, Shape shape) {
        Begin(oldFile.size(), shape);
        Extend(oldFile);
    }

    // Begins the index of a file of at most `mostBytes`, which becomes known piece by piece.
    void Begin(std::uint64_t mostBytes, Shape shape);
    // Adds the keys of the file that were not known before. `oldFile` is all of it up to here.
    void Extend(ByteView oldFile);

    [[nodiscard]] std::size_t KeySize() const noexcept { return shape_.keySize; }
    [[nodiscard]] std::size_t Step() const noexcept { return shape_.step; }
    [[nodiscard]] std::uint64_t MemoryHeld() const noexcept {
        return (heads_.capacity() + previous_.capacity()) * sizeof(std::uint32_t);
    }

    // Calls visit(offset) for offsets that may hold the KeySize() bytes at `key`, the latest first.
    // Stops after kMaxCandidates, since repetitive content would make every search long.
    template <typename Visit>
    void ForCandidates(const std::uint8_t* key, Visit visit) const {
        std::uint32_t entry = heads_[Slot(key)];
        for (int i = 0; entry != kNone && i < kMaxCandidates; ++i) {
            visit(std::uint64_t{entry} * shape_.step);
            entry = previous_[entry];
        }
    }

private:
    static constexpr std::uint32_t kNone = 0xffffffffU;
    static constexpr int kMaxCandidates = 16;

    [[nodiscard]] std::size_t Slot(const std::uint8_t* key) const;

    Shape shape_{};
    int hashShift_ = 0;
    std::size_t lastSlot_ = 0;
    std::vector<std::uint32_t> heads_;     // by hash: index of the latest key
    std::vector<std::uint32_t> previous_;  // by index: the key before it with the same hash
};

}  // namespace delta
