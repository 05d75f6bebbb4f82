// Patches between two versions of an asset archive or of a folder.
//
//     const va::Archive old("Town-1.0.va");
//     const va::Archive fresh("town-work");
//     va::MakePatch(old, fresh, {.result = "town-1.1.patch.va"});
//
//     va::ApplyPatch({.old = "Town.va", .patch = "town-1.1.patch.va", .result = "Town-1.1.va"},
//                    [](const va::Progress& p) { return !userCancelled; });
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "vaconverter/archive.h"
#include "vaconverter/error.h"
#include "vaconverter/progress.h"
#include "vaconverter/sums.h"

namespace va {

// What becomes of one member between two sides.
struct MemberChange {
    enum class Kind {
        Changed,
        Added,
        Moved,    // added with the content of a member of the old side, or a copy of it
        Removed,  // also the old one of a moved member
        Empty,    // added without content
    };

    Kind kind = Kind::Changed;
    std::string name;     // in UTF-8, '/' between components
    std::string oldName;  // of a moved member
    std::uint64_t oldSize = 0;
    std::uint64_t newSize = 0;
    std::uint64_t patchSize = 0;  // bytes that the patch stores for it

    // Returns whether it changed almost wholly, as PatchReport::Reason::Rewritten.
    [[nodiscard]] bool IsRewritten() const;
};

struct PatchCounts {
    std::uint64_t same = 0;
    std::uint64_t changed = 0;
    std::uint64_t added = 0;  // those without content included
    std::uint64_t moved = 0;
    std::uint64_t removed = 0;  // without those that were moved
};

struct MakePatchOptions {
    std::filesystem::path result;  // the patch archive to write
    bool replace = false;          // a file that exists
    bool compact = false;          // a compact patch, which is smaller; not with plain
    bool plain = false;            // without manifest: exactly what older programs make
    bool allowLossy = false;       // with plain: leave out members without content
    bool verify = true;            // rebuild every changed and added member and compare
    bool dryRun = false;           // do all but write
    // The file name that the result of applying the patch gets unless its user says otherwise;
    // empty for that of the new side.
    std::string name = {};
    std::string note = {};  // for people, in UTF-8; travels in the patch
    unsigned threads = 1;   // the bytes of the patch do not depend on it
    // In bytes. Under a limit, diffs of large members may be larger.
    std::uint64_t memoryLimit = UINT64_MAX;
};

struct MakePatchResult {
    PatchCounts counts;
    std::vector<MemberChange> changes;  // in the byte order of the lower-case names
    std::uint64_t patchSize = 0;
    std::uint64_t newMembers = 0;
    // SHA-256 of the lines that `sha256sum` prints for the members of the new side, sorted by their
    // names; nothing with plain.
    std::optional<Sha256> newContent;
    // SHA-256 of the file that applying gives. Only for a new side that was an archive as this
    // library writes them; else only the content is promised.
    std::optional<Sha256> newArchive;
    bool replacesLink = false;  // `result` was a link, which is replaced, not what it leads to
    // Unfinished files of killed runs that were to give the same result, which were removed.
    std::vector<std::filesystem::path> abandoned;
};

// Makes a patch that turns `old` into `fresh`; equal sides give an empty one. Throws Error: Refused
// naming the members that a patch cannot carry, for damaged members, or if the result exists;
// NoMemory before the work if the limit is too low for a member; DiskFull.
MakePatchResult MakePatch(const Archive& old, const Archive& fresh, const MakePatchOptions& options,
                          const ProgressFunction& progress = {});

// Which side of a patch an archive or folder is.
struct Verdict {
    enum class Side {
        Old,      // what the patch was made from
        New,      // what it gives
        Neither,  // an altered copy of a side, or another archive altogether
        Damaged,
    };
    Side side = Side::Old;
    // Names in UTF-8: the damaged members, or those that differ from the side that it is a copy
    // of, as far as they are known.
    std::vector<std::string> members;
    bool certain = true;   // each of `members` differs; else one or more of them do
    bool another = false;  // so much differs that it is no copy of either side
    bool likeNew = false;  // neither side, and an altered copy of the new one
    std::string message;   // for people; empty for the old and the new side
};

// Returns whether a file is a patch, or the damaged rest of one, by the lists in it. False for
// whatever cannot be read.
[[nodiscard]] bool IsPatch(const std::filesystem::path& path);

// Reads a patch and an archive or folder whole, and compares them. Throws Error: NotFound, Refused
// for a damaged patch.
[[nodiscard]] Verdict VerifyAgainst(const std::filesystem::path& target,
                                    const std::filesystem::path& patch, unsigned threads = 1,
                                    const ProgressFunction& progress = {});

struct ApplyPatchOptions {
    std::filesystem::path old;  // an archive or folder
    std::filesystem::path patch;
    // The new archive. Empty: the name in the patch, or OLD-new.va where the patch has none or
    // `old` has it, beside `old`, which must not be a folder then. A folder that exists: that name
    // in it.
    std::filesystem::path result = {};
    bool replace = false;  // a file that exists
    bool check = false;    // judge the patch and the old side, and do no more
    bool trust = false;    // do not judge the old side first
    bool dryRun = false;   // do all but write
    unsigned threads = 1;
    std::uint64_t memoryLimit = UINT64_MAX;  // bytes that the members at work may take
    // Called with what was found about `old`, before anything is written or thrown.
    std::function<void(const Verdict&)> judged = {};
};

struct ApplyPatchResult {
    PatchCounts counts;
    // As the patch lists them: added, changed, removed. Sizes of content are those that the patch
    // tells, and 0 where it does not.
    std::vector<MemberChange> changes;
    // `old` is the new side, and was copied to `result` if that was named; or `result` was there.
    bool alreadyApplied = false;
    std::filesystem::path result;  // empty if there is none
    std::uint64_t resultSize = 0;  // 0 if nothing was written
    std::uint64_t resultMembers = 0;
    // Of the result: equal to the maker's, where the patch promises that.
    std::optional<Sha256> archive;
    // The patch promises an archive byte for byte, and the result has its members and contents, but
    // stores them otherwise: so does `old` compared with the one the patch was made from.
    bool storedOtherwise = false;
    std::string note;           // of the maker
    bool replacesLink = false;  // `result` was a link, which is replaced, not what it leads to
    // Unfinished files of killed runs that were to give the same result, which were removed.
    std::vector<std::filesystem::path> abandoned;
};

// Makes the new archive out of the old one. The result appears whole or not at all, and does not
// depend on the number of threads. Throws Error: NotFound; DiskFull; NoMemory; Refused when
// the patch is damaged, `old` is neither side of it, the result exists, or is one of the inputs.
ApplyPatchResult ApplyPatch(const ApplyPatchOptions& options,
                            const ProgressFunction& progress = {});

struct ExpandPatchOptions {
    std::filesystem::path patch;  // a compact patch
    std::filesystem::path old;    // the archive or folder that it was made from
    std::filesystem::path result;
    bool replace = false;  // a file that exists
    bool dryRun = false;   // do all but write
    unsigned threads = 1;
    std::uint64_t memoryLimit = UINT64_MAX;  // bytes that the members at work may take
};

struct ExpandPatchResult {
    std::uint64_t patchSize = 0;
};

// Makes the patch archive of a compact patch, byte for byte what MakePatch would have made of the
// two sides. Throws Error: NotFound; DiskFull; NoMemory; Refused when the patch is damaged, `old`
// is not its old side, or the result exists or is one of the inputs.
ExpandPatchResult ExpandPatch(const ExpandPatchOptions& options,
                              const ProgressFunction& progress = {});

// What the manifest of a patch says.
struct PatchInfo {
    struct Side {
        std::uint64_t members = 0;
        std::uint64_t bytes = 0;  // of content
        Sha256 content{};         // ContentDigest
    };
    Side old;
    Side fresh;
    std::optional<Sha256> archive;  // of the file that applying gives, where that is promised
    std::string name;               // the file name for the result; may be empty
    std::string note;               // of the maker, in UTF-8 and lines; may be empty
};

// Returns what a patch says about itself; nullopt if it has no manifest. Throws Error (Refused) for
// a manifest that is damaged, or of a later version.
[[nodiscard]] std::optional<PatchInfo> ReadPatchInfo(const Archive& patch);

// Byte diffs of two contents in memory, in the format of the members of a patch. Throws Error
// (Refused) for 4 GiB and more.
[[nodiscard]] std::vector<std::byte> MakeDelta(std::span<const std::byte> old,
                                               std::span<const std::byte> fresh);

// Returns the new content. Throws Error (Refused) if the diff is damaged, was made from other old
// content, or gives more than `limit` bytes.
[[nodiscard]] std::vector<std::byte> ApplyDelta(std::span<const std::byte> old,
                                                std::span<const std::byte> diff,
                                                std::uint64_t limit = UINT32_MAX);

}  // namespace va
