// Handles to pooled texts: equal texts share one entry, so equality is identity.
//
// A handle owns one reference. The null handle is the empty string for comparisons; its Text() is
// null. Interning an empty text gives a handle of its own, which is not null. A handle's text does
// not change and does not move while the handle lives.
//
// Threads: handles of one entry may be copied and destroyed on any thread; one handle object is
// written by one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>

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
    // Gives the reference back, unless the pool is already gone.
    ~InternedString();

    [[nodiscard]] const char* Text() const noexcept;
    [[nodiscard]] std::size_t Length() const noexcept;  // bytes
    // The text, empty for the null handle.
    [[nodiscard]] std::string_view View() const noexcept {
        return {Text() ? Text() : "", Length()};
    }

    explicit operator bool() const noexcept { return entry_ != nullptr; }
    friend bool operator==(const InternedString& a, const InternedString& b) noexcept {
        return a.entry_ == b.entry_;
    }

    // The entry's identity, for tables keyed by it.
    [[nodiscard]] const StringPoolEntry* Entry() const noexcept { return entry_; }

private:
    friend class StringPool;
    explicit InternedString(StringPoolEntry* adopted) noexcept : entry_(adopted) {}

    StringPoolEntry* entry_ = nullptr;
};

// A null text gives the null handle.
[[nodiscard]] InternedString Intern(const char* text);
// `length` bytes of `text`, trusted; a null text with length 0 gives the null handle.
[[nodiscard]] InternedString Intern(const char* text, std::size_t length);
[[nodiscard]] inline InternedString Intern(std::string_view text) {
    return Intern(text.data(), text.size());
}
// At most `maxLength` bytes of the text; a negative limit means the whole text.
[[nodiscard]] InternedString InternAtMost(const char* text, int maxLength);

// Sets the handle to the printf-style result, or to null when that is empty. The handle's own
// text may be among the arguments.
void FormatInto(InternedString& handle, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

// Copies what fits into `size` bytes, NUL included. The number of bytes copied.
std::size_t CopyTo(const InternedString& handle, char* buffer, std::size_t size);

// Byte index of `needle` at or after `start`, letter case counting, or -1.
[[nodiscard]] int FindText(const InternedString& handle, const char* needle, std::size_t start);

// Below 0, 0 or above 0; A to Z compare as a to z, other bytes as unsigned values. Null equals "".
[[nodiscard]] int CompareText(const InternedString& handle, const char* text);

// The order of maps: null first, then unsigned bytes, letter case counting.
[[nodiscard]] bool Less(const InternedString& a, const InternedString& b);
struct InternedLess {
    bool operator()(const InternedString& a, const InternedString& b) const { return Less(a, b); }
};
struct InternedHash {
    std::size_t operator()(const InternedString& handle) const noexcept {
        return std::hash<const void*>()(handle.Entry());
    }
};

// Edits. Each leaves the handle holding one reference to the entry of the new text; other holders
// of the old entry keep their text.
void Insert(InternedString& handle, const char* text, std::size_t position);
void Erase(InternedString& handle, std::size_t position, std::size_t count);
void ToLower(InternedString& handle);  // A to Z only

}  // namespace Vorn
