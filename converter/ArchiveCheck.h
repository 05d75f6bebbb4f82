// Judges the archives that an operation reads, before it relies on them.
#pragma once

#include <string_view>

namespace converter {

enum class Depth {
    Structure,  // the index; its records agree with the members' entries and places
    Content,    // the same, and that each content has its size and check sum
};

// Returns whether the archive at a path is whole. If not, one line on standard error names the
// archive, the first damaged place and the member there. An archive without an index is whole, with
// a line that says so. Throws Stopped.
[[nodiscard]] bool JudgeArchive(std::string_view path, Depth depth);

}  // namespace converter
