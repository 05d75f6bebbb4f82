#include "tools/va/tag/TagPath.h"

#include <algorithm>
#include <cstdint>

#include "assetdata/TagObserver.h"
#include "kernel/InternedString.h"
#include "kernel/LetterCase.h"
#include "tools/va/ShownText.h"

namespace va::tool {
namespace {

// Returns the first names of a container, as a hint for the message about a missing tag.
std::string SomeNames(const Vorn::OCSChunk& container) {
    constexpr std::uint32_t kMostNames = 12;
    std::string names;
    for (std::uint32_t i = 0; i < std::min(container.ChildCount(), kMostNames); ++i) {
        names.append(i > 0 ? ", " : "").append(Vorn::Printable(container.ChildAt(i).name));
    }
    if (container.ChildCount() > kMostNames) names += ", ...";
    return names.empty() ? "it holds none" : "it has " + Shown(names);
}

}  // namespace

std::vector<std::string> SplitPath(std::string_view path) {
    std::vector<std::string> names(1);
    while (!path.empty()) {
        const bool escaped = path.starts_with("\\/") || path.starts_with("\\\\");
        const char c = path[escaped ? 1 : 0];
        path.remove_prefix(escaped ? 2 : 1);
        if (c == '/' && !escaped) {
            names.emplace_back();
        } else {
            names.back() += c;
        }
    }
    std::erase(names, std::string());
    return names;
}

void AppendName(std::string& path, std::string_view name) {
    if (!path.empty()) path += '/';
    for (const char c : name) {
        if (c == '/' || c == '\\') path += '\\';
        path += c;
    }
}

Vorn::OCSChunkRef FindChild(const Vorn::OCSChunk& container, std::string_view name) {
    if (Vorn::OCSChunkRef exact = container.FindChild(Vorn::Intern(name))) return exact;
    return container.ChildAt(FindIndex(container, name)).child;
}

std::uint32_t FindIndex(const Vorn::OCSChunk& container, std::string_view name) {
    const std::uint32_t count = container.ChildCount();
    std::uint32_t found = count;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::string_view other = container.ChildAt(i).name;
        if (other == name) return i;
        if (found == count && Vorn::EqualAsciiNoCase(other, name)) found = i;
    }
    return found;
}

Vorn::OCSChunkRef FindTag(const Vorn::OCSChunkRef& root, std::string_view path,
                          std::string& missing) {
    Vorn::OCSChunkRef tag = root;
    std::string way;
    for (const std::string& name : SplitPath(path)) {
        const Vorn::OCSChunkRef child = FindChild(*tag, name);
        if (!child) {
            const std::string place = way.empty() ? "at the top" : "in '" + Shown(way) + "'";
            missing = "there is no tag '" + Shown(name) + "' " + place + ": " + SomeNames(*tag);
            return {};
        }
        tag = child;
        way.append(way.empty() ? "" : "/").append(name);
    }
    return tag;
}

}  // namespace va::tool
