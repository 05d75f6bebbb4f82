#include "converter/WorkFolder.h"

#include <algorithm>
#include <ranges>

#include "platform/Directories.h"

namespace {

using platform::EntryKind;

// False when the search ends: at something foreign, or at a folder that cannot be read.
[[nodiscard]] bool Search(const std::string& folder, const std::string& below,
                          const IsLeftover& isLeftover, FolderContent& content) {
    content.folders.push_back(folder);
    std::vector<std::string> inner;
    const bool read =
        platform::ListDirectory(folder.c_str(), [&](const platform::DirectoryEntry& entry) {
            if (entry.name == "." || entry.name == "..") return true;
            const std::string path = folder + "/" + entry.name;
            // Joined to a path, a name with this separator would lead to another place.
            const bool plain = !entry.isLink && entry.name.find('\\') == std::string::npos;
            if (plain && entry.status.IsDirectory()) {
                inner.push_back(entry.name);
            } else if (plain && isLeftover(below + entry.name)) {
                content.leftovers.push_back(path);
            } else {
                content.foreign = path;
            }
            return content.foreign.empty();
        });
    if (!read) content.foreign = folder;
    return content.foreign.empty() && std::ranges::all_of(inner, [&](const std::string& name) {
               return Search(folder + "/" + name, below + name + "/", isLeftover, content);
           });
}

}  // namespace

bool MadeFolders::Make(const std::string& path) {
    const auto make = [&] {
        if (platform::MakeDirectory(path.c_str())) {
            made_.push_back(path);
            return true;
        }
        platform::FileStatus status;
        return platform::GetStatus(path.c_str(), status) && status.IsDirectory();
    };
    if (make()) return true;
    const std::size_t separator = path.find_last_of("/\\");
    if (separator == std::string::npos || separator == 0) return false;
    return Make(path.substr(0, separator)) && make();
}

void MadeFolders::DeleteEmpty() {
    for (const std::string& path : made_ | std::views::reverse) {
        (void)platform::RemoveEmptyDirectory(path.c_str());
    }
    made_.clear();
}

FolderContent SearchFolder(const std::string& folder, const IsLeftover& isLeftover) {
    FolderContent content;
    switch (platform::GetEntryKind(folder.c_str())) {
        case EntryKind::None:
            break;
        case EntryKind::Directory:
            (void)Search(folder, {}, isLeftover, content);
            break;
        default:
            content.foreign = folder;
    }
    return content;
}

void DeleteLeftovers(const FolderContent& content) {
    for (const std::string& file : content.leftovers) (void)platform::RemoveFile(file.c_str());
    for (const std::string& folder : content.folders | std::views::reverse) {
        (void)platform::RemoveEmptyDirectory(folder.c_str());
    }
}
