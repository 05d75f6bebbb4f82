// Reads a result back before it gets its name.
#pragma once

#include <cstdint>
#include <vector>

#include "archive/Reader.h"
#include "patch/Meter.h"
#include "patch/OldSide.h"
#include "patch/PatchFile.h"
#include "patch/Plan.h"

namespace patch {

// What was written of each part: the sum of its stored bytes, unless they were copied.
struct Written {
    std::uint32_t storedSize = 0;
    std::uint32_t sum = 0;
};

// Returns the digest of a whole file. Throws archive::Error, Cancelled.
[[nodiscard]] Sha256Digest DigestOfFile(const platform::FileHandle& file, std::uint64_t size,
                                        Meter& meter);

// Returns whether every content agrees with its check sum and, where there is a manifest, names and
// contents are those of the new side. Throws archive::Error, Cancelled.
[[nodiscard]] bool HoldsNewSide(const archive::Reader& result, const PatchFile& patch,
                                unsigned threads, const ProgressFunction& progress);

// Returns whether the result holds what was written: its index, its entries, and the stored bytes,
// of which those that were copied are compared with their source. Throws archive::Error, Cancelled.
[[nodiscard]] bool HoldsAll(const archive::Reader& result, const std::vector<Part>& parts,
                            const std::vector<Written>& written, const OldSide& old,
                            const PatchFile& patch, unsigned threads,
                            const ProgressFunction& progress);

}  // namespace patch
