// Makes a patch archive: the difference of two sides (docs/formats/patch.md).
//
// Decided here, where the format leaves it open:
// - Members are stored in the canonical order of their names, then the lists, then the manifest.
// - A member whose name changes in letter case only is removed and added.
// - Members without content are in no list, which programs that know only the lists could not
//   apply. The manifest carries them.
// - The bytes depend on the contents of both sides and on the options alone, but not on the
//   number of threads.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "patch/Difference.h"
#include "patch/Meter.h"

namespace patch {

struct MakeOptions {
    std::string result;    // the file to write
    bool replace = false;  // a file that exists
    bool dryRun = false;   // do all but write
    bool compact = false;  // a compact patch (docs/formats/compact-patch.md), with a manifest
    bool manifest = true;
    bool allowLossy = false;  // without a manifest: leave out members without content
    bool prove = true;        // rebuild every changed and added member and compare
    // The digest that the manifest must end with: the patch is one that was made before.
    std::optional<Sha256Digest> expected = {};
    std::string name;      // for the result of applying: a plain file name; may be empty
    std::string note;      // for people; travels in the manifest
    unsigned threads = 1;  // 0 counts as 1
    std::uint64_t memory = UINT64_MAX;  // bytes
};

struct MakeResult {
    std::vector<MemberChange> changes;  // in the canonical order of the names
    std::vector<std::string> leftOut;   // names that the result of a patch with allowLossy lacks
    std::uint64_t same = 0;             // members
    Side old;                           // digests only with a manifest
    Side fresh;
    std::optional<Manifest::File> archive;  // what the result of applying is, if that is promised
    std::uint64_t patchBytes = 0;           // of the file
    std::vector<std::string> abandoned;     // files of killed runs that were removed
};

// Throws Error: Refused naming every member that a patch cannot carry, and if the result exists;
// Damaged for inputs; NoMemory before the work if the limit is too low; CannotWrite, NoSpace. Also
// throws Cancelled. Then there is no result.
MakeResult MakePatch(const Input& old, const Input& fresh, const MakeOptions& options,
                     const ProgressFunction& progress);

}  // namespace patch
