// The kernel's byte string: one pointer to a shared, counted block, copied on the first change.
//
// Text is in the ANSI code page. The null string (default, cleared, or assigned a null pointer) has
// capacity 0 and an empty text; an allocated string of length 0 is empty but not null. Comparisons
// return 0 when this string sorts before the other, 1 when equal, 2 when after; null sorts before
// everything else and equals null.
//
// Every operation accepts texts that point into the string itself. Throws Exception for a text of
// 4 GiB, std::bad_alloc when memory is exhausted.
//
// Threads: strings that share a block may be copied and released on any thread; one String object
// is written by one thread at a time.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "kernel/InternedString.h"
#include "platform/PrintfCheck.h"

namespace Vorn {

class String {
public:
    String() noexcept;
    String(const char* text);  // NOLINT(google-explicit-constructor): a text is a String
    explicit String(const InternedString& name);
    String(const String& other) noexcept;
    String(String&& other) noexcept;
    String& operator=(const String& other) noexcept;
    String& operator=(String&& other) noexcept;
    String& operator=(const char* text);
    ~String();

    void Clear() noexcept;
    void Assign(const char* text);
    // Assigns at most `count` bytes of the text; all of it if `count` is negative.
    void Assign(const char* text, int count);

    // Makes sure that no other string shares the block and that it has room for `capacity` bytes.
    // Without `keepText` the text is lost if that takes a new block.
    void Reserve(std::uint32_t capacity, bool keepText);

    void Append(const char* text);
    // Does nothing when `position` > length.
    void Insert(std::size_t position, const char* text);
    // Removes `count` bytes, or the rest if there are fewer; nothing when `position` >= length.
    void Erase(std::size_t position, std::size_t count);

    // Replaces the text; an empty result makes the null string.
    void Format(const char* format, ...) VORN_PRINTF(2, 3);
    void Format(const char* format, std::va_list arguments) VORN_PRINTF(2, 0);
    // An empty result changes nothing.
    void AppendFormat(const char* format, ...) VORN_PRINTF(2, 3);
    void AppendFormat(const char* format, std::va_list arguments) VORN_PRINTF(2, 0);

    // Removes every byte that occurs in `set`.
    void RemoveChars(const char* set);
    // Removes leading delimiters and the run of other bytes after them, and stores that run in
    // `token` (null if there is none). The delimiter after the run stays.
    void NextToken(const char* delimiters, String& token);

    // Returns the index of the first `byte` at or after `from`, or -1.
    [[nodiscard]] int Find(char byte, std::size_t from) const;

    [[nodiscard]] int Compare(const String& other) const;
    [[nodiscard]] int Compare(const char* text) const;
    // Ignores letter case by the rules of the ANSI code page.
    [[nodiscard]] int CompareNoCase(const String& other) const;

    [[nodiscard]] const char* Text() const noexcept;  // never null
    [[nodiscard]] std::uint32_t Length() const noexcept;
    [[nodiscard]] std::uint32_t Capacity() const noexcept;
    [[nodiscard]] bool IsNull() const noexcept { return Capacity() == 0; }
    [[nodiscard]] std::string_view View() const noexcept { return {Text(), Length()}; }

private:
    struct Block;
    struct NullBlock;
    static NullBlock null_;

    static Block* Share(Block* block) noexcept;
    static void Release(Block* block) noexcept;

    void Store(std::string_view text);
    void AppendText(std::string_view text);
    void SetLength(std::size_t length) noexcept;
    void MakeOwn();
    [[nodiscard]] bool Holds(std::string_view text) const noexcept;

    Block* block_;
};
static_assert(sizeof(String) == sizeof(void*));

}  // namespace Vorn
