// Walks the members of a mount, folder by folder.
#pragma once

#include <functional>

#include "kernel/InternedString.h"

namespace converter {

// Called with a path relative to the mount, '/' between components. 1 stops the walk.
using WalkStep = std::function<int(const char* path)>;

// Hands each folder and each member directly in `folder` to a step, in the order of the file
// search. `onFolder` decides whether to descend, by calling WalkFolder again. Returns the last
// step's result; 1, after a line, if there is nothing in the folder.
[[nodiscard]] int WalkFolder(const Vorn::InternedString& mount, const char* folder,
                             const WalkStep& onFolder, const WalkStep& onMember);

}  // namespace converter
