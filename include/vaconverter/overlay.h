// Several archives or folders as if they were mounted over each other.
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <vector>

#include "vaconverter/archive.h"

namespace va {

// A name that one or more sides have; the last of them wins.
struct OverlaidMember {
    // A member that does not win: of sides[side].Members().
    struct Hidden {
        std::size_t side = 0;
        std::size_t index = 0;
    };

    std::size_t side = 0;        // the side that it comes from
    Member member;               // as that side has it
    std::vector<Hidden> hidden;  // of earlier sides, in their order
    bool conflict = false;       // whether one of these has other content
};

// Returns all names of the sides, letter case ignored, in the byte order of the lower-case names.
// Contents are equal when size and check sum are: only those without a recorded check sum are read.
// Throws Error for one that cannot be read.
[[nodiscard]] std::vector<OverlaidMember> Overlay(std::span<const Archive> sides,
                                                  const ProgressFunction& progress = {});

struct MergeOptions {
    std::filesystem::path result;
    bool replace = false;  // a file or link of that name
    bool dryRun = false;   // do all but write
    unsigned threads = 1;  // for checking the result
};

struct MergeResult {
    std::uint64_t members = 0;
    std::uint64_t bytes = 0;    // of the file; 0 with dryRun
    bool replacesLink = false;  // `result` was a link, which is replaced, not what it leads to
    // Unfinished files of killed runs that were to give the same result, which were removed.
    std::vector<std::filesystem::path> abandoned;
};

// Writes an archive with these members of the sides, in their order. Members of archives keep
// their stored bytes; those of folders are compressed where it saves 2 %. The versions in the
// header are those of the last archive. The result appears when it was written and every byte of it
// judged, or not at all. Throws Error.
MergeResult Merge(std::span<const Archive> sides, std::span<const OverlaidMember> members,
                  const MergeOptions& options, const ProgressFunction& progress = {});

}  // namespace va
