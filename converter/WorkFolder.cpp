#include "converter/WorkFolder.h"

#include <algorithm>
#include <vector>

#include "converter/Console.h"
#include "kernel/Paths.h"
#include "platform/Directories.h"

namespace converter {

using namespace Vorn;

namespace {

using platform::EntryKind;

using IsLeftover = WorkFolder::IsLeftover;

// What a folder holds. Folders count as leftovers; a link does not, and neither does a name with a
// separator of this system's paths.
struct FolderContent {
    std::vector<std::string> leftovers;  // full paths
    std::vector<std::string> folders;    // full paths, the searched one included; parents first
    std::string
        foreign;  // the first thing that is not a leftover, where the search ended; or empty
};

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

[[nodiscard]] FolderContent SearchFolder(const std::string& folder, const IsLeftover& isLeftover) {
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
    for (const std::string& folder :
         std::vector(content.folders.rbegin(), content.folders.rend())) {
        (void)platform::RemoveEmptyDirectory(folder.c_str());
    }
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
    for (const std::string& path : std::vector(made_.rbegin(), made_.rend())) {
        (void)platform::RemoveEmptyDirectory(path.c_str());
    }
    made_.clear();
}

PathBuffer WorkFolder::PathOf(std::string_view name) const {
    PathBuffer path = path_;
    AppendPathComponent(path, name);
    return path;
}

bool WorkFolder::Clear() const {
    const std::string folder(path_.View());
    const FolderContent content = SearchFolder(folder, isLeftover_);
    if (content.foreign.empty()) {
        DeleteLeftovers(content);
        return true;
    }
    PrintProblem("the working folder \"" + folder +
                 "\" would be deleted and holds other files: \"" + content.foreign +
                 "\"; move them away or name another output folder");
    return false;
}

bool WorkFolder::MakeFolder(std::string_view folder) {
    const std::string path(PathOf(folder).View());
    if (made_.Make(path)) return true;
    PrintProblem("cannot create the folder \"" + path + '"');
    return false;
}

void WorkFolder::Delete() {
    made_.DeleteEmpty();
    const std::string folder(path_.View());
    if (!platform::Exists(folder.c_str())) return;
    // A diff program that was killed left something.
    DeleteLeftovers(SearchFolder(folder, isLeftover_));
    if (platform::Exists(folder.c_str())) {
        PrintProblem("the working folder \"" + folder + "\" is not empty and stays");
    }
}

}  // namespace converter
