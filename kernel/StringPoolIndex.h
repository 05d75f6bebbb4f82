// A hash table that finds pool entries by their text. It doubles when it is full, and its hash has
// a new key in every run, so that names in a file cannot be made to collide. If there is no memory
// to double, its chains become longer.
//
// Borrows the entries and chains them through `indexNext`. Not thread-safe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "kernel/SipHash.h"
#include "kernel/StringPoolEntry.h"

namespace Vorn {

class StringPoolIndex {
public:
    StringPoolIndex();

    // Returns the entry of `text` or null, and adds the entries with another text that it passed to
    // `steps`.
    [[nodiscard]] StringPoolEntry* Find(std::string_view text, std::uint64_t& steps) const noexcept;

    // Adds an entry whose text the table does not have.
    void Add(StringPoolEntry& entry) noexcept;
    void Remove(StringPoolEntry& entry) noexcept;

    [[nodiscard]] std::size_t Size() const noexcept { return size_; }

private:
    [[nodiscard]] std::uint32_t Hash(std::string_view text) const noexcept;
    [[nodiscard]] std::size_t SlotOf(std::uint32_t hash) const noexcept {
        return hash & (slots_.size() - 1);
    }
    void Link(StringPoolEntry& entry) noexcept;
    void Grow() noexcept;

    SipHashKey key_;
    std::vector<StringPoolEntry*> slots_;  // their number is a power of two
    std::size_t size_ = 0;
};

}  // namespace Vorn
