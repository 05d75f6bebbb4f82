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
    bool prove = true;     // decode every member and compare
    unsigned threads = 1;
    std::uint64_t memory = UINT64_MAX;  // bytes that the members at work may take
};

// Writes the patch of a difference, of which all digests are known, with the text of its manifest.
// Sets patchBytes. Returns the bytes of the file, which do not depend on the number of threads.
// Throws Error, Cancelled.
std::uint64_t WriteCompact(Difference& difference, const std::string& manifest,
                           const WriteOptions& options, const ProgressFunction& progress);

}  // namespace patch::compact
