// Packs a folder into an archive, and compares an archive with a folder, through the kernel's own
// file layer. Contents pass in pieces, so no file is ever held in memory.
//
// Both throw std::runtime_error with a line for people when something cannot be read or written.
#pragma once

#include <string>

namespace demo {

// Writes every file of the folder (FolderFiles.h) as a member of the new archive and prints what
// it packed. An existing archive is refused, and none is left behind on a failure.
void PackFolder(const std::string& folder, const std::string& archive);

// Whether archive and folder hold the same names, in any letter case, with the same bytes. Prints
// a line for every difference, and one at the end.
[[nodiscard]] bool CompareWithFolder(const std::string& archive, const std::string& folder);

}  // namespace demo
