// One pooled text: a header, followed in the same block by the bytes and a NUL.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Vorn {

struct StringPoolEntry {
    StringPoolEntry* next = nullptr;  // towards the tail of its bucket
    StringPoolEntry* prev = nullptr;  // towards the head
    std::uint32_t length = 0;         // bytes of text, without the NUL
    std::uint32_t capacity = 0;       // bytes of room, NUL included
    std::uint32_t refCount = 0;       // handles that point here
    std::uint32_t hash = 0;           // of the text, while the index holds the entry
    StringPoolEntry* indexNext = nullptr;

    [[nodiscard]] char* Text() noexcept { return reinterpret_cast<char*>(this + 1); }
    [[nodiscard]] const char* Text() const noexcept {
        return reinterpret_cast<const char*>(this + 1);
    }
    [[nodiscard]] std::string_view View() const noexcept { return {Text(), length}; }
};

// Blocks are counted with a header of 24 bytes, in steps of 16: 32 bytes for texts of 0 to 6 bytes,
// 48 for 7 to 22. In memory the header is wider, because pointers have 8 bytes here.
inline constexpr std::uint32_t kEntryHeaderSize = 24;
inline constexpr std::size_t kMaxPooledLength = 0xFFFFFFFF - 41;

[[nodiscard]] constexpr std::uint32_t EntryCapacity(std::uint32_t length) noexcept {
    return ((length + 41) & ~15U) - kEntryHeaderSize;
}

}  // namespace Vorn
