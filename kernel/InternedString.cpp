#include "kernel/InternedString.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>

#include "kernel/FormatText.h"
#include "kernel/LetterCase.h"
#include "kernel/Paths.h"
#include "kernel/StringPool.h"

namespace Vorn {
namespace {

void AddRef(StringPoolEntry* entry) {
    if (!entry) return;
    if (StringPool* pool = FindStringPool()) pool->AddRef(*entry);
}

// Does nothing once the pool is gone: it took the entry with it.
void Release(StringPoolEntry* entry) {
    if (!entry) return;
    if (StringPool* pool = FindStringPool()) pool->Release(*entry);
}

}  // namespace

InternedString::InternedString(const InternedString& other) : entry_(other.entry_) {
    AddRef(entry_);
}

InternedString& InternedString::operator=(const InternedString& other) {
    if (this != &other && entry_ != other.entry_) {
        Release(entry_);
        entry_ = other.entry_;
        AddRef(entry_);
    }
    return *this;
}

InternedString& InternedString::operator=(InternedString&& other) noexcept {
    if (this != &other) {
        Release(entry_);
        entry_ = std::exchange(other.entry_, nullptr);
    }
    return *this;
}

InternedString::~InternedString() { Release(entry_); }

const char* InternedString::Text() const noexcept { return entry_ ? entry_->Text() : nullptr; }

std::size_t InternedString::Length() const noexcept { return entry_ ? entry_->length : 0; }

InternedString Intern(const char* text) {
    return text ? GetStringPool().Intern(text) : InternedString();
}

InternedString Intern(const char* text, std::size_t length) {
    return text ? GetStringPool().Intern({text, length}) : InternedString();
}

InternedString InternAtMost(const char* text, int maxLength) {
    if (!text || maxLength < 0) return Intern(text);
    return Intern(text, BoundedLength(text, static_cast<std::size_t>(maxLength)));
}

void FormatInto(InternedString& handle, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const FormattedText text(format, arguments);
    va_end(arguments);
    handle = text.View().empty() ? InternedString() : Intern(text.View());
}

std::size_t CopyTo(const InternedString& handle, char* buffer, std::size_t size) {
    if (size == 0) return 0;
    const std::size_t count = std::min(handle.Length(), size - 1);
    std::ranges::copy(handle.View().substr(0, count), buffer);
    buffer[count] = '\0';
    return count;
}

int FindText(const InternedString& handle, const char* needle, std::size_t start) {
    if (handle.Length() == 0 || !needle) return -1;
    const std::size_t found = handle.View().find(needle, start);
    return found == std::string_view::npos ? -1 : static_cast<int>(found);
}

int CompareText(const InternedString& handle, const char* text) {
    // As C strings: a text with a zero byte inside ends there.
    return CompareAsciiNoCase(handle ? handle.Text() : "", text ? text : "");
}

bool Less(const InternedString& a, const InternedString& b) {
    if (!a || !b) return !a && b;
    return std::strcmp(a.Text(), b.Text()) < 0;
}

void Insert(InternedString& handle, const char* text, std::size_t position) {
    if (!handle) {
        handle = Intern(text);
    } else if (text) {
        GetStringPool().Insert(handle, text, position);
    }
}

void Erase(InternedString& handle, std::size_t position, std::size_t count) {
    GetStringPool().Erase(handle, position, count);
}

void ToLower(InternedString& handle) { GetStringPool().ToLower(handle); }

}  // namespace Vorn
