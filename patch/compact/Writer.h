// Writes compact patches.
#pragma once

#include <cstdint>
#include <string>

#include "patch/Difference.h"

namespace patch::compact {

struct WriteOptions {
    std::string result;    // the file to write
    bool replace = false;  // a file that exists
    bool dryRun = false;   // do all but write
    bool prove = true;     // decode every member and compare, and read the file back
    unsigned threads = 1;
    // Bytes that the work may take, beside a fixed amount; at least LeastMemoryToWrite of every
    // member that changed or was added. Under a limit members share less with each other.
    std::uint64_t memory = UINT64_MAX;
};

// Returns the least memory limit with which a member can be written; `oldBytes` is 0 for one that
// was added.
[[nodiscard]] std::uint64_t LeastMemoryToWrite(std::uint64_t oldBytes, std::uint64_t newBytes);

// Writes the patch of a difference, of which all digests are known, with the text of its manifest.
// Sets patchBytes. Returns the bytes of the file, which do not depend on the number of threads.
// Throws Error, Cancelled.
std::uint64_t WriteCompact(Difference& difference, const std::string& manifest,
                           const WriteOptions& options, const ProgressFunction& progress);

}  // namespace patch::compact
