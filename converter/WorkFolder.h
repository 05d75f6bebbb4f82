// The working folder of patchdiff: what earlier runs left in it, and what this run makes.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Folders that a run makes. Those that are empty in the end are deleted with the object; what was
// there before stays.
class MadeFolders {
public:
    MadeFolders() = default;
    MadeFolders(const MadeFolders&) = delete;
    MadeFolders& operator=(const MadeFolders&) = delete;
    ~MadeFolders() { DeleteEmpty(); }

    // Makes a folder and those on the way to it. False when it is not there afterwards.
    [[nodiscard]] bool Make(const std::string& path);
    void DeleteEmpty();

private:
    std::vector<std::string> made_;  // each after those on the way to it
};

// Whether a file may be deleted. Its path is relative to the searched folder, '/' between
// components.
using IsLeftover = std::function<bool(std::string_view file)>;

// What a folder holds. Folders pass for leftovers; a link, and a name that holds a separator of
// this system's paths, does not.
struct FolderContent {
    std::vector<std::string> leftovers;  // full paths
    std::vector<std::string> folders;    // full paths, the searched one included; before their own
    std::string foreign;  // the first thing that is no leftover, where the search ended; or empty
};
[[nodiscard]] FolderContent SearchFolder(const std::string& folder, const IsLeftover& isLeftover);

// Deletes the leftovers, and the folders that are empty then.
void DeleteLeftovers(const FolderContent& content);
