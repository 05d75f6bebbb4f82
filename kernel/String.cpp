#include "kernel/String.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <compare>
#include <cstring>
#include <functional>
#include <new>
#include <utility>

#include "kernel/Allocator.h"
#include "kernel/Exceptions.h"
#include "kernel/FormatText.h"
#include "kernel/LetterCase.h"
#include "kernel/Paths.h"

namespace Vorn {

struct String::Block {
    std::atomic<std::int32_t> references;
    std::uint32_t capacity;
    std::uint32_t length;

    char* Text() noexcept { return reinterpret_cast<char*>(this + 1); }
};

struct String::NullBlock {
    Block block;
    std::array<char, 4> text;
};

// Holds one reference to itself, so that it is never freed.
constinit String::NullBlock String::null_{.block = {1, 0, 0}, .text = {}};

namespace {

// A block takes its capacity and 12 bytes. The capacity includes the NUL and is always at least two
// bytes more than the length.
constexpr std::uint32_t kBlockOverhead = 12;
constexpr std::size_t kMaxLength = 0xFFFFFFFF - kBlockOverhead - 18;

std::uint32_t CapacityFor(std::size_t length) {
    if (length > kMaxLength) throw Exception("kernel/String", __LINE__, "String too long");
    return static_cast<std::uint32_t>((length + 2 + 15) / 16 * 16);
}

// Returns 0, 1 or 2 for less, equal or greater.
int Verdict(std::weak_ordering order) { return std::is_lt(order) ? 0 : std::is_eq(order) ? 1 : 2; }

}  // namespace

String::Block* String::Share(Block* block) noexcept {
    block->references.fetch_add(1, std::memory_order_relaxed);
    return block;
}

void String::Release(Block* block) noexcept {
    if (block->references.fetch_sub(1, std::memory_order_acq_rel) == 1) Alloc::Free(block);
}

String::String() noexcept : block_(Share(&null_.block)) {}

String::String(const char* text) : String() { Assign(text); }

String::String(const InternedString& name) : String() {
    if (name) Store(name.View());
}

String::String(const String& other) noexcept : block_(Share(other.block_)) {}

String::String(String&& other) noexcept : String() { std::swap(block_, other.block_); }

String& String::operator=(const String& other) noexcept {
    if (this != &other) Release(std::exchange(block_, Share(other.block_)));
    return *this;
}

String& String::operator=(String&& other) noexcept {
    std::swap(block_, other.block_);
    return *this;
}

String& String::operator=(const char* text) {
    Assign(text);
    return *this;
}

String::~String() { Release(block_); }

void String::Clear() noexcept { Release(std::exchange(block_, Share(&null_.block))); }

void String::Assign(const char* text) { Assign(text, -1); }

void String::Assign(const char* text, int count) {
    if (!text) {
        Clear();
    } else {
        Store(count < 0
                  ? std::string_view(text)
                  : std::string_view(text, BoundedLength(text, static_cast<std::size_t>(count))));
    }
}

void String::Reserve(std::uint32_t capacity, bool keepText) {
    Block& old = *block_;
    if (old.references.load(std::memory_order_acquire) == 1 && old.capacity != 0 &&
        old.capacity >= capacity) {
        return;
    }
    if (keepText) capacity = std::max(capacity, old.capacity);
    if (capacity == 0) capacity = 4;
    const std::uint32_t length = keepText ? old.length : 0;
    static_assert(sizeof(Block) == kBlockOverhead);
    auto* block =
        new (Alloc::New(std::size_t{capacity} + kBlockOverhead)) Block{1, capacity, length};
    std::copy_n(old.Text(), length, block->Text());
    block->Text()[length] = '\0';
    Release(std::exchange(block_, block));
}

void String::Append(const char* text) {
    if (text) AppendText(text);
}

void String::Insert(std::size_t position, const char* text) {
    const std::string_view inserted(text ? text : "");
    const std::size_t length = Length();
    if (inserted.empty() || position > length) return;
    if (Holds(inserted)) {
        Insert(position, String(text).Text());
        return;
    }
    Reserve(CapacityFor(length + inserted.size()), true);
    char* gap = block_->Text() + position;
    std::memmove(gap + inserted.size(), gap, length - position);
    std::ranges::copy(inserted, gap);
    SetLength(length + inserted.size());
}

void String::Erase(std::size_t position, std::size_t count) {
    const std::size_t length = Length();
    if (count == 0 || position >= length) return;
    count = std::min(count, length - position);
    MakeOwn();
    char* gap = block_->Text() + position;
    std::memmove(gap, gap + count, length - position - count);
    SetLength(length - count);
}

void String::Format(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    Format(format, arguments);
    va_end(arguments);
}

void String::Format(const char* format, std::va_list arguments) {
    const FormattedText text(format, arguments);
    if (text.View().empty()) {
        Clear();
    } else {
        Store(text.View());
    }
}

void String::AppendFormat(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    AppendFormat(format, arguments);
    va_end(arguments);
}

void String::AppendFormat(const char* format, std::va_list arguments) {
    const FormattedText text(format, arguments);
    if (!text.View().empty()) AppendText(text.View());
}

void String::RemoveChars(const char* set) {
    if (View().find_first_of(set) == std::string_view::npos) return;
    const String kept(set);  // the set may be this very text
    MakeOwn();
    char* text = block_->Text();
    char* end = std::remove_if(text, text + Length(), [&](char c) {
        return kept.View().find(c) != std::string_view::npos;
    });
    SetLength(static_cast<std::size_t>(end - text));
}

void String::NextToken(const char* delimiters, String& token) {
    const std::string_view text = View();
    const std::size_t start = std::min(text.find_first_not_of(delimiters), text.size());
    const std::size_t end = std::min(text.find_first_of(delimiters, start), text.size());
    String found;
    if (end > start) found.Store(text.substr(start, end - start));
    Erase(0, end);
    token = std::move(found);
}

int String::Find(char byte, std::size_t from) const {
    const std::size_t found = View().find(byte, from);
    return found == std::string_view::npos ? -1 : static_cast<int>(found);
}

int String::Compare(const String& other) const {
    if (IsNull() || other.IsNull()) return Verdict(!IsNull() <=> !other.IsNull());
    return Verdict(View() <=> other.View());
}

int String::Compare(const char* text) const {
    if (IsNull() || !text) return Verdict(!text <=> IsNull());
    return Verdict(View() <=> std::string_view(text));
}

int String::CompareNoCase(const String& other) const {
    if (IsNull() || other.IsNull()) return Verdict(!IsNull() <=> !other.IsNull());
    return Verdict(CompareAnsiNoCase(View(), other.View()) <=> 0);
}

const char* String::Text() const noexcept { return block_->Text(); }

std::uint32_t String::Length() const noexcept { return block_->length; }

std::uint32_t String::Capacity() const noexcept { return block_->capacity; }

void String::Store(std::string_view text) {
    if (Holds(text)) {
        String copy;
        copy.Store(text);
        std::swap(block_, copy.block_);
        return;
    }
    Reserve(CapacityFor(text.size()), false);
    std::ranges::copy(text, block_->Text());
    SetLength(text.size());
}

void String::AppendText(std::string_view text) {
    if (Holds(text)) {
        String copy;
        copy.Store(text);
        AppendText(copy.View());
        return;
    }
    const std::size_t length = Length();
    Reserve(CapacityFor(length + text.size()), true);
    std::ranges::copy(text, block_->Text() + length);
    SetLength(length + text.size());
}

void String::SetLength(std::size_t length) noexcept {
    block_->length = static_cast<std::uint32_t>(length);
    block_->Text()[length] = '\0';
}

void String::MakeOwn() { Reserve(Capacity(), true); }

// True if `text` lies in this string's block, which a change may move or free. std::less_equal
// orders unrelated pointers, which <= may not.
bool String::Holds(std::string_view text) const noexcept {
    if (IsNull()) return false;
    const std::less_equal<const char*> notAfter;
    return notAfter(Text(), text.data()) && notAfter(text.data(), Text() + Length());
}

}  // namespace Vorn
