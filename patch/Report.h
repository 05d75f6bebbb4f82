// Why a patch archive is as big as it is: every byte of its file, by member and by reason.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "archive/Reader.h"

namespace patch {

enum class Reason {
    NewContent,     // a member that nothing of the old side gives
    Rewritten,      // see IsRewritten: mostly a file that was encoded again
    Moved,          // the content of an old member under another name
    ChangedInPart,  // a diff that pays
    Overhead,       // lists, manifest, index, and the headers of all members
};

// Returns whether a diff has so many bytes that its member changed almost wholly.
[[nodiscard]] constexpr bool IsRewritten(std::uint64_t newBytes, std::uint64_t diffBytes) {
    return diffBytes > newBytes / 2;
}

struct ReportItem {
    std::string name;  // as stored
    Reason reason = Reason::NewContent;
    std::uint64_t patchBytes = 0;    // that its data takes in the patch
    std::uint64_t contentBytes = 0;  // of the member on the new side
};

struct Report {
    std::uint64_t fileBytes = 0;  // the sum of all items and the overhead
    std::uint64_t overhead = 0;
    std::vector<ReportItem> items;  // the largest first, equal ones in the canonical order of names
};

// Looks at the lists, at the manifest where there is one, and at the head of each diff; no diff is
// applied. Without a manifest a member counts as moved when its digest is that of a member that was
// removed or changed: those that were copied from an unchanged one are not known. Throws
// archive::Error: Refused for an archive that lacks a list, Damaged, CannotRead, SumDiffers.
[[nodiscard]] Report ReportOn(const archive::Reader& patch);

}  // namespace patch
