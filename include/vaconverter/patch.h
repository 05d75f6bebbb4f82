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

// The change of one member between two sides.
struct MemberChange {
    enum class Kind {
        Changed,
        Added,
        Moved,    // added with the content of a member of the old side: renamed or copied
        Removed,  // also the old member of a moved one
        Empty,    // added without content
    };

    Kind kind = Kind::Changed;
    std::string name;     // in UTF-8, with '/' between components
    std::string oldName;  // of a moved member
    std::uint64_t oldSize = 0;
    std::uint64_t newSize = 0;
    std::uint64_t patchSize = 0;  // bytes that the patch stores for it

    // Returns whether almost the whole content changed (PatchReport::Reason::Rewritten).
    [[nodiscard]] bool IsRewritten() const;
};

struct PatchCounts {
    std::uint64_t same = 0;
    std::uint64_t changed = 0;
    std::uint64_t added = 0;  // including members without content
    std::uint64_t moved = 0;
    std::uint64_t removed = 0;  // not including the old members of moved ones
};

struct MakePatchOptions {
    std::filesystem::path result;  // the patch archive to write
    bool replace = false;          // replace an existing file
    bool compact = false;          // make a compact patch, which is smaller; excludes `plain`
    bool plain = false;            // omit the manifest: the patch that older programs make
    bool allowLossy = false;       // with `plain`: omit members without content
    bool verify = true;            // rebuild every changed and added member and compare it
    bool dryRun = false;           // do everything except writing
    // The default file name of the archive that applying the patch makes; empty for the name of the
    // new side.
    std::string name = {};
    std::string note = {};  // for people, in UTF-8; stored in the patch
    unsigned threads = 1;   // does not affect the bytes of the patch
    // In bytes. A limit may make the diffs of large members larger.
    std::uint64_t memoryLimit = UINT64_MAX;
};

struct MakePatchResult {
    PatchCounts counts;
    std::vector<MemberChange> changes;  // in the byte order of the lower-case names
    // With `allowLossy`: the members of the new side without content, which the patch does not
    // make, even if the old side has them too. In the same order.
    std::vector<std::string> leftOut;
    std::uint64_t patchSize = 0;
    std::uint64_t newMembers = 0;
    // SHA-256 of the lines that `sha256sum` prints for the members of the new side, sorted by their
    // names; nullopt with `plain`.
    std::optional<Sha256> newContent;
    // SHA-256 of the archive that applying the patch makes. Set only if the new side is an archive
    // in the form that this library writes; otherwise the patch promises only the content.
    std::optional<Sha256> newArchive;
    bool replacesLink = false;  // `result` was a link, which was replaced; its target is unchanged
    // Removed temporary files that killed runs had left for the same result.
    std::vector<std::filesystem::path> abandoned;
};

// Makes a patch that turns `old` into `fresh`; equal sides give an empty patch. Throws Error:
// Refused if members are damaged or cannot be stored in a patch (the message names them), or if the
// result exists; NoMemory, before the work, if the limit is too low for a member; DiskFull.
MakePatchResult MakePatch(const Archive& old, const Archive& fresh, const MakePatchOptions& options,
                          const ProgressFunction& progress = {});

// The result of comparing an archive or folder with the two sides of a patch.
struct Verdict {
    enum class Side {
        Old,      // the archive that the patch was made from
        New,      // the archive that applying the patch makes
        Neither,  // an altered copy of a side, or an unrelated archive
        Damaged,
    };
    Side side = Side::Old;
    // Names in UTF-8: the damaged members, or the known members that differ from the side that this
    // is an altered copy of.
    std::vector<std::string> members;
    bool certain = true;   // true if all of `members` differ; false if at least one does
    bool another = false;  // too different to be an altered copy of either side
    bool likeNew = false;  // with Neither: an altered copy of the new side
    std::string message;   // for people; empty for the old and the new side
};

// Returns whether a file is a patch, or the remains of a damaged one, by looking for its lists.
// Returns false for a file that cannot be read.
[[nodiscard]] bool IsPatch(const std::filesystem::path& path);

// Reads a patch and an archive or folder completely, and compares them. Throws Error: NotFound;
// Refused if the patch is damaged.
[[nodiscard]] Verdict VerifyAgainst(const std::filesystem::path& target,
                                    const std::filesystem::path& patch, unsigned threads = 1,
                                    const ProgressFunction& progress = {});

struct ApplyPatchOptions {
    std::filesystem::path old;  // an archive or folder
    std::filesystem::path patch;
    // The path of the new archive. If empty, the archive is written beside `old`, which must not be
    // a folder then, under the name in the patch; or as OLD-new.va if the patch has no name or
    // `old` has that name. If it is an existing folder, the archive is written into it under that
    // name.
    std::filesystem::path result = {};
    bool replace = false;  // replace an existing file
    bool check = false;    // only verify the patch and the old side
    bool trust = false;    // do not verify the old side first
    bool dryRun = false;   // do everything except writing
    unsigned threads = 1;
    std::uint64_t memoryLimit = UINT64_MAX;  // bytes for the members in progress
    // Called with the verdict on `old` before anything is written or thrown.
    std::function<void(const Verdict&)> judged = {};
};

struct ApplyPatchResult {
    PatchCounts counts;
    // In the order of the patch: added, changed, removed. Sizes of content are those recorded in
    // the patch, or 0.
    std::vector<MemberChange> changes;
    // True if `old` is the new side already (it was copied to `result` if that was given), or if
    // `result` existed and is the new side.
    bool alreadyApplied = false;
    std::filesystem::path result;  // empty if there is none
    std::uint64_t resultSize = 0;  // 0 if nothing was written
    std::uint64_t resultMembers = 0;
    // SHA-256 of the result file; the one that the patch promises, unless storedOtherwise.
    std::optional<Sha256> archive;
    // True if the result has the promised members and contents but not the promised bytes, because
    // `old` stores its members differently from the archive that the patch was made from.
    bool storedOtherwise = false;
    std::string note;           // from the maker of the patch
    bool replacesLink = false;  // `result` was a link, which was replaced; its target is unchanged
    // Removed temporary files that killed runs had left for the same result.
    std::vector<std::filesystem::path> abandoned;
};

// Makes the new archive from the old one. The result appears complete or not at all, and does not
// depend on the number of threads. Throws Error: NotFound; DiskFull; NoMemory; Refused if the patch
// is damaged, `old` is neither side of it, or the result exists or is one of the inputs.
ApplyPatchResult ApplyPatch(const ApplyPatchOptions& options,
                            const ProgressFunction& progress = {});

struct ExpandPatchOptions {
    std::filesystem::path patch;  // a compact patch
    std::filesystem::path old;    // the archive or folder that it was made from
    std::filesystem::path result;
    bool replace = false;  // replace an existing file
    bool dryRun = false;   // do everything except writing
    unsigned threads = 1;
    std::uint64_t memoryLimit = UINT64_MAX;  // bytes for the members in progress
};

struct ExpandPatchResult {
    std::uint64_t patchSize = 0;
};

// Converts a compact patch to a patch archive, with the same bytes that MakePatch makes of the two
// sides. Throws Error: NotFound; DiskFull; NoMemory; Refused if the patch is damaged, `old` is not
// its old side, or the result exists or is one of the inputs.
ExpandPatchResult ExpandPatch(const ExpandPatchOptions& options,
                              const ProgressFunction& progress = {});

// The content of a patch's manifest.
struct PatchInfo {
    struct Side {
        std::uint64_t members = 0;
        std::uint64_t bytes = 0;  // of content
        Sha256 content{};         // ContentDigest
    };
    Side old;
    Side fresh;
    std::optional<Sha256> archive;  // of the archive that applying makes, if that is promised
    std::string name;               // the default file name of the result; may be empty
    std::string note;               // from the maker, in lines of UTF-8; may be empty
};

// Returns the content of the manifest; nullopt if the patch has none. Throws Error (Refused) if the
// manifest is damaged or of a later version.
[[nodiscard]] std::optional<PatchInfo> ReadPatchInfo(const Archive& patch);

// One of the streams that a compact patch is made of.
struct PatchStream {
    enum class Kind { Head, Directory, Contents };
    Kind kind = Kind::Head;
    std::uint64_t bytes = 0;  // in the patch
    // Size when unpacked. That of contents depends on the old side.
    std::optional<std::uint64_t> unpacked = {};
    std::uint64_t members = 0;  // whose contents it has
};

// What a compact patch says without its old side.
struct CompactPatchInfo {
    PatchInfo facts;
    PatchCounts counts;
    std::uint64_t patchSize = 0;
    std::vector<PatchStream> streams;  // in the order of the file
};

// Returns whether a file begins as a compact patch does. False for whatever cannot be read.
[[nodiscard]] bool IsCompactPatch(const std::filesystem::path& path);

// Checks every byte of a compact patch, as far as that is possible without its old side, and
// returns what it says. Throws Error: NotFound; Refused if it is damaged, or of a later version.
[[nodiscard]] CompactPatchInfo ReadCompactPatch(const std::filesystem::path& path,
                                                const ProgressFunction& progress = {});

// Returns a byte diff of two contents in memory, in the format that patches use. Throws Error
// (Refused) for contents of 4 GiB and more.
[[nodiscard]] std::vector<std::byte> MakeDelta(std::span<const std::byte> old,
                                               std::span<const std::byte> fresh);

// Returns the new content. Throws Error (Refused) if the diff is damaged, was made from other old
// content, or gives more than `limit` bytes.
[[nodiscard]] std::vector<std::byte> ApplyDelta(std::span<const std::byte> old,
                                                std::span<const std::byte> diff,
                                                std::uint64_t limit = UINT32_MAX);

}  // namespace va
