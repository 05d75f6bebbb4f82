// Tracks which entries of a list have been removed, and finds the n-th that has not.
//
// The list itself keeps its entries in place. Removing takes constant time; finding the n-th counts
// through blocks of 4,096 positions, unless nothing was removed.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vorn {

class LivePositions {
public:
    explicit LivePositions(std::uint32_t size) : size_(size), count_(size) {}

    [[nodiscard]] std::uint32_t Size() const { return size_; }
    [[nodiscard]] std::uint32_t Count() const { return count_; }

    void Append() {
        ++size_;
        ++count_;
        if (!words_.empty()) MarkAppended();
    }

    [[nodiscard]] bool IsLive(std::uint32_t position) const {
        return position < size_ && (words_.empty() || (words_[position / kWord] & Bit(position)));
    }

    // Removes a position, which must be live.
    void Remove(std::uint32_t position) {
        if (words_.empty()) BeginRemoving();
        words_[position / kWord] &= ~Bit(position);
        --blocks_[position / kBlock];
        --count_;
    }

    // Returns the position of the live entry number `index`, which must be below the count.
    [[nodiscard]] std::uint32_t Select(std::uint32_t index) const {
        if (words_.empty()) return index;
        std::uint32_t block = 0;
        while (index >= blocks_[block]) index -= blocks_[block++];
        std::uint32_t word = block * (kBlock / kWord);
        for (std::uint32_t live; index >= (live = LiveIn(words_[word])); ++word) index -= live;
        std::uint64_t bits = words_[word];
        for (; index > 0; --index) bits &= bits - 1;
        return word * kWord + static_cast<std::uint32_t>(std::countr_zero(bits));
    }

private:
    static constexpr std::uint32_t kWord = 64;
    static constexpr std::uint32_t kBlock = 4096;

    static std::uint64_t Bit(std::uint32_t position) {
        return std::uint64_t{1} << position % kWord;
    }
    static std::uint32_t LiveIn(std::uint64_t word) {
        return static_cast<std::uint32_t>(std::popcount(word));
    }

    void BeginRemoving() {
        words_.assign(size_ / kWord + 1, ~std::uint64_t{0});
        words_.back() = Bit(size_) - 1;
        blocks_.assign(size_ / kBlock + 1, kBlock);
        blocks_.back() = size_ % kBlock;
    }
    void MarkAppended() {
        const std::uint32_t position = size_ - 1;
        if (words_.size() <= position / kWord) words_.push_back(0);
        if (blocks_.size() <= position / kBlock) blocks_.push_back(0);
        words_[position / kWord] |= Bit(position);
        ++blocks_[position / kBlock];
    }

    std::uint32_t size_;
    std::uint32_t count_;
    std::vector<std::uint64_t> words_;   // a bit for each position; empty until one is removed
    std::vector<std::uint32_t> blocks_;  // live positions of each block
};

}  // namespace Vorn
