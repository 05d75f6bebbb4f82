#include "converter/WorkFolder.h"

#include <string>
#include <vector>

#include "platform/Directories.h"

bool HoldsOnlyLeftovers(std::string_view folder, std::string_view patchFile) {
    std::vector<std::string> folders;
    bool onlyLeftovers = true;
    const std::string path = folder.empty() ? "." : std::string(folder);
    (void)platform::ListDirectory(path.c_str(), [&](const platform::DirectoryEntry& entry) {
        if (entry.name == "." || entry.name == "..") return true;
        if (entry.status.IsDirectory() && !entry.isLink) {
            folders.push_back(path + "/" + entry.name);
        } else {
            onlyLeftovers = entry.name == patchFile || entry.name.ends_with(".diff");
        }
        return onlyLeftovers;
    });
    for (const std::string& inner : folders) {
        onlyLeftovers = onlyLeftovers && HoldsOnlyLeftovers(inner, {});
    }
    return onlyLeftovers;
}
