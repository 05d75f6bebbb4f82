// Overlays several archives or folders, as if they were mounted over each other.
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <vector>

#include "vaconverter/archive.h"

namespace va {

// A name that one or more sides have. The member of the last of them wins and hides the others.
struct OverlaidMember {
    // A member that is hidden: sides[side].Members()[index].
    struct Hidden {
        std::size_t side = 0;
        std::size_t index = 0;
    };

    std::size_t side = 0;        // the side of the member that wins
    Member member;               // that member
    std::vector<Hidden> hidden;  // members of earlier sides, in the order of the sides
    bool conflict = false;       // true if a hidden member has other content
};

// Returns all names of the sides, ignoring letter case, in the byte order of the lower-case names.
// Contents count as equal if their sizes and check sums are; a content is read only if no check sum
// is recorded. Throws Error if one cannot be read, and (Refused) if several members of a side have
// one name.
[[nodiscard]] std::vector<OverlaidMember> Overlay(std::span<const Archive> sides,
                                                  const ProgressFunction& progress = {});

struct MergeOptions {
    std::filesystem::path result;
    bool replace = false;  // replace an existing file or link
    bool dryRun = false;   // do everything except writing
    unsigned threads = 1;  // for checking the result
};

struct MergeResult {
    std::uint64_t members = 0;
    std::uint64_t bytes = 0;    // size of the file; 0 with dryRun
    bool replacesLink = false;  // `result` was a link, which was replaced; its target is unchanged
    // Removed temporary files that killed runs had left for the same result.
    std::vector<std::filesystem::path> abandoned;
};

// Writes an archive of these members of the sides, in their order. Members of archives keep their
// stored bytes; those of folders are compressed where this saves 2 %. The header gets the versions
// of the last archive. The result appears after it was written and every byte of it checked, or not
// at all. Throws Error.
MergeResult Merge(std::span<const Archive> sides, std::span<const OverlaidMember> members,
                  const MergeOptions& options, const ProgressFunction& progress = {});

}  // namespace va
