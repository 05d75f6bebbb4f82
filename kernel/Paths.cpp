#include "kernel/Paths.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "kernel/LetterCase.h"

namespace Vorn {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::string_view kSeparators = "\\/";
constexpr std::string_view kComponentEnds = "\\/:";
constexpr std::string_view kExtensionEnds = ".\\/";

std::string_view View(PathSpan buffer) {
    return {buffer.data(), BoundedLength(buffer.data(), buffer.size() - 1)};
}

// Returns where the file name of `path` begins.
std::size_t FileNameStart(std::string_view path) {
    const std::size_t end = path.find_last_of(kComponentEnds);
    return end == kNone ? 0 : end + 1;
}

std::string_view WithoutLeadingSeparators(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kSeparators), text.size()));
    return text;
}

std::string_view WithoutDot(std::string_view extension) {
    if (extension.starts_with('.')) extension.remove_prefix(1);
    return extension;
}

// True if at most a drive prefix and one separator are left, so that ".." has nothing to remove.
bool IsFolded(std::string_view path) {
    if (path.size() >= 2 && path[1] == ':') path.remove_prefix(2);
    if (!path.empty() && IsSeparator(path.front())) path.remove_prefix(1);
    return path.empty();
}

void FoldParent(PathSpan buffer) {
    const std::string_view path = View(buffer);
    if (IsFolded(path)) {
        AppendPathComponent(buffer, "..");
        return;
    }
    if (!IsComponentEnd(path.back())) SetPath(buffer, std::string(path) + '/');
    RemoveLastComponent(buffer);
}

}  // namespace

void NormalisePath(PathSpan buffer) {
    PathBuffer result;
    std::string_view rest = View(buffer);
    if (!rest.empty() && IsSeparator(rest.front())) SetPath(result, "/");
    for (;;) {
        rest = WithoutLeadingSeparators(rest);
        if (rest.empty()) break;
        // find_first_of would search the set once for each byte; every look-up in an archive pays.
        const auto end = std::ranges::find_if(rest, IsSeparator);
        const std::string_view token(rest.begin(), end);
        rest.remove_prefix(token.size());
        if (token == "..") {
            FoldParent(result);
        } else if (token != ".") {
            AppendPathComponent(result, token);
        }
    }
    SetPath(buffer, result.View());
}

void JoinPath(std::string_view base, std::string_view name, PathSpan result) {
    if (base.empty()) {
        SetPath(result, name);
        return;
    }
    std::string joined(base.substr(0, base.find_last_of(kSeparators) + 1));
    if (joined.empty()) {
        joined = base;
        if (base.front() != '.' && base.find(':') == kNone) joined += ':';
        joined += '/';
    }
    if (!name.empty() && IsSeparator(name.front())) name.remove_prefix(1);
    SetPath(result, joined.append(name));
}

void AppendPathComponent(PathSpan buffer, std::string_view component, std::size_t count) {
    component = component.substr(0, count);
    std::string path(View(buffer));
    if (!path.empty()) {
        if (!IsSeparator(path.back())) path += '/';
        component = WithoutLeadingSeparators(component);
    }
    SetPath(buffer, path.append(component));
}

void RemoveLastComponent(PathSpan buffer) {
    const std::string_view path = View(buffer);
    const std::size_t last = path.find_last_of(kSeparators);
    if (last == kNone) return;
    const std::size_t start = FileNameStart(path.substr(0, last));
    EraseText(buffer.data(), start, last + 1 - start);
}

void StripDirectory(PathSpan buffer) {
    const std::string_view path = View(buffer);
    SetPath(buffer, path.substr(FileNameStart(path)));
}

void StripFileName(PathSpan buffer, bool dropSeparator) {
    const std::string_view path = View(buffer);
    std::size_t kept = FileNameStart(path);
    if (dropSeparator && kept > 0 && IsSeparator(path[kept - 1])) --kept;
    buffer[kept] = '\0';
}

void StripTrailingSeparator(PathSpan buffer) {
    const std::string_view path = View(buffer);
    if (!path.empty() && IsSeparator(path.back())) buffer[path.size() - 1] = '\0';
}

void KeepDirectoryAndExtension(PathSpan buffer) {
    const std::string_view path = View(buffer);
    const std::size_t name = FileNameStart(path);
    const std::size_t dot = std::min(path.substr(name).rfind('.'), path.size() - name);
    EraseText(buffer.data(), name, dot);
}

void ReplaceExtension(PathSpan buffer, const char* extension) {
    std::string path(View(buffer));
    const std::size_t last = path.find_last_of(kExtensionEnds);
    if (last != kNone && path[last] == '.') path.resize(last);
    if (extension) path.append(".").append(WithoutDot(extension));
    SetPath(buffer, path);
}

bool HasExtension(std::string_view path, const char* extension) {
    if (!extension) return path.empty();
    const std::size_t last = path.find_last_of(kExtensionEnds);
    return last != kNone && path[last] == '.' &&
           EqualAnsiNoCase(path.substr(last + 1), WithoutDot(extension));
}

const char* FileNamePart(const char* path) { return path + FileNameStart(path); }

const char* ExtensionPart(const char* path) {
    const char* dot = std::strrchr(FileNamePart(path), '.');
    return dot ? dot + 1 : nullptr;
}

bool PathsShareStart(const char* a, const char* b) {
    if (!a || !b) return a == b;
    for (; *a && *b; ++a, ++b) {
        if (*a != *b && !(IsSeparator(*a) && IsSeparator(*b))) return false;
    }
    return true;
}

void NextPathComponent(PathSpan path, PathSpan component) {
    std::string_view rest = WithoutLeadingSeparators(View(path));
    const std::size_t prefix = rest.find_first_of(kComponentEnds);
    if (prefix != kNone && rest[prefix] == ':') {
        rest = WithoutLeadingSeparators(rest.substr(prefix + 1));
    }
    const std::size_t length = std::min(rest.find_first_of(kSeparators), rest.size());
    SetPath(component, rest.substr(0, length));
    SetPath(path, rest.substr(std::min(length + 1, rest.size())));
}

void ToBackslashes(char* text) {
    for (; *text; ++text) {
        if (*text == '/') *text = '\\';
    }
}

void CopyText(PathSpan destination, const char* source) {
    SetPath(destination, source ? source : "");
}

void EraseText(char* buffer, std::size_t position, std::size_t count) {
    const std::size_t length = std::strlen(buffer);
    if (position >= length || count == 0) return;
    if (count >= length - position) {
        buffer[position] = '\0';
        return;
    }
    const std::size_t tail = position + count;
    std::memmove(buffer + position, buffer + tail, length - tail + 1);
}

char LastChar(const char* text) { return *text ? text[std::strlen(text) - 1] : '\0'; }

std::size_t BoundedLength(const char* text, std::size_t max) {
    const void* end = std::memchr(text, '\0', max);
    return end ? static_cast<std::size_t>(static_cast<const char*>(end) - text) : max;
}

}  // namespace Vorn
