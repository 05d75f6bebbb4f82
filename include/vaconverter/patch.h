// Patches between two versions of an asset archive or of a folder.
//
//     const va::Archive old("Town-1.0.va");
//     const va::Archive fresh("town-work");
//     va::MakePatch(old, fresh, {.result = "town-1.1.patch.va"});
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "vaconverter/archive.h"
#include "vaconverter/error.h"
#include "vaconverter/progress.h"

namespace va {

using Sha256 = std::array<std::byte, 32>;

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
    bool plain = false;            // without manifest: exactly what older programs make
    bool allowLossy = false;       // with plain: leave out members without content
    bool verify = true;            // rebuild every changed and added member and compare
    bool dryRun = false;           // do all but write
    // The file name that the result of applying the patch gets unless its user says otherwise;
    // empty for that of the new side.
    std::string name;
    std::string note;      // for people, in UTF-8; travels in the patch
    unsigned threads = 1;  // the bytes of the patch do not depend on it
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
};

// Makes a patch that turns `old` into `fresh`; equal sides give an empty one. Throws Error: Refused
// naming the members that a patch cannot carry, for damaged members, or if the result exists;
// NoMemory before the work if the limit is too low for a member; DiskFull.
MakePatchResult MakePatch(const Archive& old, const Archive& fresh, const MakePatchOptions& options,
                          const ProgressFunction& progress = {});

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
