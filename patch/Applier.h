// Builds the result of a patch: a new archive that appears whole, or not at all.
//
// What does not change is copied as it is stored. Changed members are rebuilt on worker threads,
// each in memory, and compared with their digests; the calling thread writes. The bytes do not
// depend on the number of threads. Everything is read back before the archive gets its name.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "patch/Meter.h"
#include "patch/OldSide.h"
#include "patch/PatchFile.h"
#include "patch/Plan.h"

namespace patch {

struct BuildOptions {
    std::string result;    // the archive to write
    bool replace = false;  // a file that exists
    bool dryRun = false;   // everything is done but that
    // The old side was not judged, so that the contents of the result are.
    bool trusted = false;
    // Is called before a result is kept that is not the archive that the patch promises; not for an
    // old side that is trusted.
    std::function<void()> confirm = {};
    unsigned threads = 1;
    std::uint64_t memoryLimit = UINT64_MAX;  // bytes that the members at work may take
};

struct Built {
    std::uint64_t members = 0;
    std::uint64_t bytes = 0;                // of the archive; 0 if none was written
    std::vector<std::string> abandoned{};   // files of killed runs that were removed
    std::optional<Sha256Digest> archive{};  // where the manifest promises it
};

// Applies the patch to the old side. That should have been judged, unless it is trusted, or
// `confirm` judges it when the promised digest has not. Throws Error, Cancelled, and what `confirm`
// throws.
[[nodiscard]] Built BuildResult(const OldSide& old, const PatchFile& patch,
                                const BuildOptions& options, const ProgressFunction& progress);

// Writes a side that is the new one already to another place.
[[nodiscard]] Built BuildCopy(const OldSide& side, const PatchFile& patch,
                              const BuildOptions& options, const ProgressFunction& progress);

}  // namespace patch
