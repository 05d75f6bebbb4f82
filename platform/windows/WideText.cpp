#include "platform/windows/WideText.h"

#include <algorithm>

#include "platform/CodePage.h"

namespace platform::windows {
namespace {

// The system's limit for plain paths is 260 with the end mark; a folder must leave room for an
// 8.3 name.
constexpr std::size_t kLongestPlainPath = 240;

constexpr std::wstring_view kUnlimited = L"\\\\?\\";
constexpr std::wstring_view kUnlimitedShare = L"\\\\?\\UNC\\";

std::wstring FullPath(const std::wstring& path) {
    const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring full(size, L'\0');
    full.resize(GetFullPathNameW(path.c_str(), size, full.data(), nullptr));
    return full;
}

bool NamesStream(std::wstring_view path) {
    // The drive's colon is the second character, in the unlimited form the sixth.
    const std::size_t drive = path.starts_with(kUnlimited) ? kUnlimited.size() + 1 : 1;
    const std::size_t colon = path.find(L':');
    return colon != path.npos && (colon != drive || path.find(L':', colon + 1) != path.npos);
}

}  // namespace

std::wstring ToWide(std::string_view text) {
    if (text.empty()) return {};
    const auto convert = [text](std::wstring* into) {
        return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(),
                                   static_cast<int>(text.size()), into ? into->data() : nullptr,
                                   into ? static_cast<int>(into->size()) : 0);
    };
    const int size = convert(nullptr);
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    if (size > 0) {
        convert(&wide);
        return wide;
    }
    for (const char byte : text) {
        wide += static_cast<wchar_t>(AnsiToUtf16(static_cast<unsigned char>(byte)));
    }
    return wide;
}

std::optional<std::string> ToText(std::wstring_view wide) {
    if (wide.empty()) return std::string();
    const auto convert = [wide](std::string* into) {
        return WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, wide.data(),
                                   static_cast<int>(wide.size()), into ? into->data() : nullptr,
                                   into ? static_cast<int>(into->size()) : 0, nullptr, nullptr);
    };
    const int size = convert(nullptr);
    if (size <= 0) return std::nullopt;
    std::string text(static_cast<std::size_t>(size), '\0');
    convert(&text);
    return text;
}

std::wstring ToSystemPath(const char* path) {
    std::wstring wide = ToWide(path ? path : "");
    std::replace(wide.begin(), wide.end(), L'/', L'\\');
    if (wide.empty()) {
        SetLastError(ERROR_PATH_NOT_FOUND);
        return {};
    }
    if (NamesStream(wide)) {
        SetLastError(ERROR_INVALID_NAME);
        return {};
    }
    if (wide.size() < kLongestPlainPath || wide.starts_with(kUnlimited)) return wide;
    const std::wstring full = FullPath(wide);
    if (full.starts_with(L"\\\\")) {
        return std::wstring(kUnlimitedShare) + full.substr(2);
    }
    return std::wstring(kUnlimited) + full;
}

std::string FromSystemPath(std::wstring_view path) {
    std::wstring plain(path);
    if (plain.starts_with(kUnlimitedShare)) {
        plain.replace(0, kUnlimitedShare.size(), L"\\\\");
    } else if (plain.starts_with(kUnlimited)) {
        plain.erase(0, kUnlimited.size());
    }
    std::string text = ToText(plain).value_or("");
    std::replace(text.begin(), text.end(), '\\', '/');
    return text;
}

}  // namespace platform::windows
