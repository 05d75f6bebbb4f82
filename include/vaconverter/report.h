// Why a patch is as big as it is.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "vaconverter/error.h"
#include "vaconverter/progress.h"

namespace va {

struct PatchReport {
    enum class Reason {
        NewContent,     // a member that nothing of the old side gives
        Rewritten,      // a diff of more than half the new content: mostly a file encoded anew
        Moved,          // the content of an old member under another name
        ChangedInPart,  // a diff that pays
    };

    struct Item {
        std::string name;  // of the member, in UTF-8
        Reason reason = Reason::NewContent;
        std::uint64_t patchBytes = 0;    // that its data takes in the patch
        std::uint64_t contentBytes = 0;  // of the member on the new side
    };

    std::uint64_t patchBytes = 0;  // of the file: the sum of all items and the overhead
    std::uint64_t overhead = 0;    // lists, manifest, index, headers of members
    std::vector<Item> items;       // the largest first
};

// Judges every byte of a patch archive, as ApplyPatch does, and reads the heads of its diffs. In a
// patch without a manifest, members that were copied from an unchanged one count as new content.
// Throws Error (NotFound, Refused).
[[nodiscard]] PatchReport ReportPatch(const std::filesystem::path& patch, unsigned threads = 1,
                                      const ProgressFunction& progress = {});

}  // namespace va
