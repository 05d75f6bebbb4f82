// Reports what the bytes of a patch are spent on.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "vaconverter/error.h"
#include "vaconverter/patch.h"
#include "vaconverter/progress.h"

namespace va {

struct PatchReport {
    enum class Reason {
        NewContent,     // a member without a counterpart on the old side
        Rewritten,      // a diff larger than half the new content: usually a re-encoded file
        Moved,          // the content of an old member under another name
        ChangedInPart,  // a diff of half the new content or less
    };

    struct Item {
        std::string name;  // of the member, in UTF-8
        Reason reason = Reason::NewContent;
        std::uint64_t patchBytes = 0;    // size of its data in the patch
        std::uint64_t contentBytes = 0;  // size of its content on the new side
    };

    // All members of a reason.
    struct Total {
        Reason reason = Reason::NewContent;
        std::uint64_t patchBytes = 0;
        std::uint64_t members = 0;
    };

    std::uint64_t patchBytes = 0;           // of the file: the sum of all totals and the overhead
    std::uint64_t overhead = 0;             // lists, manifest, index, headers of members
    std::vector<Total> totals = {};         // one for each reason, in the order of Reason
    std::vector<Item> items = {};           // the largest first; none for a compact patch
    std::vector<PatchStream> streams = {};  // of a compact patch
};

// Checks every byte of a patch, as ApplyPatch does, and reads the headers of its diffs. In a patch
// archive without a manifest, copies of unchanged members count as new content. A compact patch has
// the sums of its reasons, but not what each member takes. Throws Error (NotFound, Refused).
[[nodiscard]] PatchReport ReportPatch(const std::filesystem::path& patch, unsigned threads = 1,
                                      const ProgressFunction& progress = {});

}  // namespace va
