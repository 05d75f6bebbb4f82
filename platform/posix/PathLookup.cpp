#include "platform/posix/PathLookup.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string_view>

#include "platform/CodePage.h"

namespace platform::posix {
namespace {

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};

bool EntryExists(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0;
}

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return AnsiToLower(static_cast<unsigned char>(x)) ==
               AnsiToLower(static_cast<unsigned char>(y));
    });
}

// Returns the first entry of `folder`, in byte order, that differs from `name` only in letter case;
// "" if there is none. First in byte order, because the system lists entries in no fixed order.
std::string FindEntry(const std::string& folder, std::string_view name) {
    const std::unique_ptr<DIR, CloseDirectory> directory(
        opendir(folder.empty() ? "." : folder.c_str()));
    std::string found;
    if (!directory) {
        return found;
    }
    while (const dirent* entry = readdir(directory.get())) {
        const std::string_view candidate = entry->d_name;
        if (EqualIgnoringCase(candidate, name) && (found.empty() || candidate < found)) {
            found = candidate;
        }
    }
    return found;
}

// Resolves `path` component by component; "" if a component has no match.
std::string FindIgnoringCase(const std::string& path) {
    std::string resolved;
    std::size_t at = 0;
    while (at < path.size()) {
        if (path[at] == '/') {
            resolved += path[at++];
            continue;
        }
        const std::size_t end = std::min(path.find('/', at), path.size());
        const std::string_view component = std::string_view(path).substr(at, end - at);
        if (std::string exact = resolved + std::string(component); EntryExists(exact)) {
            resolved = std::move(exact);
        } else if (const std::string entry = FindEntry(resolved, component); !entry.empty()) {
            resolved += entry;
        } else {
            return {};
        }
        at = end;
    }
    return resolved;
}

}  // namespace

std::string ToSystemPath(const char* path) {
    std::string result = path ? path : "";
    std::replace(result.begin(), result.end(), '\\', '/');
    return result;
}

std::string FindExistingPath(const char* path) {
    std::string exact = ToSystemPath(path);
    if (EntryExists(exact) || (errno != ENOENT && errno != ENOTDIR)) {
        return exact;
    }
    std::string found = FindIgnoringCase(exact);
    return found.empty() ? exact : found;
}

}  // namespace platform::posix
