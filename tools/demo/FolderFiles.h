// The files of a folder that an archive and a patch can carry.
//
// Left out, each with a line that says why: names that an archive cannot store or the patch lists
// cannot hold, and names that differ from an earlier one only in letter case. Empty files and links
// are left out and only counted: a patch cannot add an empty member.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace demo {

struct FolderFile {
    std::string name;        // relative to the folder, '/' between components
    std::uint64_t size = 0;  // bytes
};

struct FolderFiles {
    std::vector<FolderFile> files;  // in byte order, folder by folder
    std::size_t emptyFiles = 0;
    std::size_t links = 0;
    std::vector<std::string> unfit;  // "NAME: the reason"
};

// Throws std::runtime_error when the folder or one below it cannot be read.
[[nodiscard]] FolderFiles ListFolder(const std::string& folder);

// The name as archives compare it: letter case does not count.
[[nodiscard]] std::string FoldedName(std::string name);

}  // namespace demo
