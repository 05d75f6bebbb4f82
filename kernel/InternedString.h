// Handles to pooled texts: equal texts share one entry, so equality is identity.
//
// A handle owns one reference. The null handle is the empty string for comparisons; its Text() is
// null. Interning an empty text returns a handle that is not null. A handle's text neither changes
// nor moves while the handle lives.
//
// Threads: handles of one entry may be copied and destroyed on any thread; one handle object is
// written by one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>

#include "platform/PrintfCheck.h"

namespace Vorn {

struct StringPoolEntry;

class InternedString {
public:
    InternedString() noexcept = default;
    InternedString(const InternedString& other);
    InternedString(InternedString&& other) noexcept
        : entry_(std::exchange(other.entry_, nullptr)) {}
    InternedString& operator=(const InternedString& other);
    InternedString& operator=(InternedString&& other) noexcept;
    // Releases the reference, unless the pool is already destroyed.
    ~InternedString();

    [[nodiscard]] const char* Text() const noexcept;
    [[nodiscard]] std::size_t Length() const noexcept;  // bytes
    // Returns the text; empty for the null handle.
    [[nodiscard]] std::string_view View() const noexcept {
        return {Text() ? Text() : "", Length()};
    }

    explicit operator bool() const noexcept { return entry_ != nullptr; }
    friend bool operator==(const InternedString& a, const InternedString& b) noexcept {
        return a.entry_ == b.entry_;
    }

    // Returns the entry as an identity, for tables keyed by it.
    [[nodiscard]] const StringPoolEntry* Entry() const noexcept { return entry_; }

private:
    friend class StringPool;
    explicit InternedString(StringPoolEntry* adopted) noexcept : entry_(adopted) {}

    StringPoolEntry* entry_ = nullptr;
};

// Returns the handle of `text`; the null handle for a null text.
[[nodiscard]] InternedString Intern(const char* text);
// The same for `length` bytes of `text`, which may hold zero bytes and must all be readable.
[[nodiscard]] InternedString Intern(const char* text, std::size_t length);
[[nodiscard]] inline InternedString Intern(std::string_view text) {
    return Intern(text.data(), text.size());
}
// The same for at most `maxLength` bytes of the text; a negative limit means the whole text.
[[nodiscard]] InternedString InternAtMost(const char* text, int maxLength);

// Sets the handle to the printf-style result, or to null when that is empty. The handle's own
// text may be among the arguments.
void FormatInto(InternedString& handle, const char* format, ...) VORN_PRINTF(2, 3);

// Copies as much as fits into `size` bytes, NUL included, and returns the bytes copied without it.
std::size_t CopyTo(const InternedString& handle, char* buffer, std::size_t size);

// Returns the byte index of `needle` at or after `start`, or -1. Case-sensitive.
[[nodiscard]] int FindText(const InternedString& handle, const char* needle, std::size_t start);

// Returns a number below 0, 0 or above 0. A to Z compare as a to z, other bytes as unsigned values;
// null equals "".
[[nodiscard]] int CompareText(const InternedString& handle, const char* text);

// Orders handles for maps: null first, then by unsigned bytes, case-sensitive.
[[nodiscard]] bool Less(const InternedString& a, const InternedString& b);
struct InternedLess {
    bool operator()(const InternedString& a, const InternedString& b) const { return Less(a, b); }
};
struct InternedHash {
    std::size_t operator()(const InternedString& handle) const noexcept {
        return std::hash<const void*>()(handle.Entry());
    }
};

// Edits. Each makes the handle hold one reference to the entry of the new text; other handles of
// the old entry keep their text.
void Insert(InternedString& handle, const char* text, std::size_t position);
void Erase(InternedString& handle, std::size_t position, std::size_t count);
void ToLower(InternedString& handle);  // A to Z only

}  // namespace Vorn
