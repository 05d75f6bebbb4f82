// Byte diffs in memory (format: docs/formats/diff.md): how to make new content from old content.
//
// MakeDelta finds the pieces of the new content that exist in the old one, and codes offsets,
// differences and fresh bytes in the way that suits their amount. It also tries zstd with the old
// content as prefix, and keeps the smallest result. So callers never choose one of the four methods
// of the format.
//
// All state is in a Workspace; there are no globals. A workspace may be used by one thread at a
// time, and threads with separate workspaces are independent. A function that fails throws Error,
// and its workspace remains usable. The same input gives the same bytes in every workspace,
// whatever it was used for before.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>

#include "delta/Error.h"

namespace delta {

using Bytes = std::span<const std::byte>;

// The largest content, in bytes; larger content is refused (TooLarge).
constexpr std::uint64_t kMaxSize = 0xffffffffU;

constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();

// A diff is at most this many bytes larger than the new content.
constexpr std::size_t kMostOverhead = 24;

struct Options {
    // Memory that MakeDelta may hold besides its two inputs, in bytes, its result included. Under a
    // limit it searches less and packs with smaller tables, so diffs become larger.
    std::uint64_t memoryLimit = kNoLimit;
};

// Holds the tables, buffers and library contexts for making and applying diffs. A new workspace is
// small; it grows to what the largest pair so far needed. Reuse it: setting one up costs more than
// the work for a small pair.
class Workspace {
public:
    Workspace();
    ~Workspace();
    Workspace(Workspace&&) noexcept;
    Workspace& operator=(Workspace&&) noexcept;

    // Returns the memory held now, in bytes, results included.
    [[nodiscard]] std::uint64_t MemoryHeld() const;

    // Frees all memory. Results in this workspace become invalid.
    void Release();

    struct Parts;
    [[nodiscard]] Parts& Get() { return *parts_; }

private:
    std::unique_ptr<Parts> parts_;
};

// Returns the smallest diff that any of the methods makes. It lies in the workspace and is valid
// until the next call. Errors: TooLarge; OutOfMemory, thrown before any work if the limit is below
// the size of the new content plus kMostOverhead.
[[nodiscard]] Bytes MakeDelta(Bytes oldContent, Bytes newContent, Workspace& workspace,
                              const Options& options = {});

// Returns an upper bound of the memory that MakeDelta holds for inputs of these sizes, in bytes,
// its result included, so a caller can decide how many workspaces to use at a time. The bound is
// never above the limit. Errors: those that MakeDelta throws before any work.
[[nodiscard]] std::uint64_t MemoryToMake(std::uint64_t oldSize, std::uint64_t newSize,
                                         const Options& options = {});

// The content of a diff's header, unchecked.
struct DeltaInfo {
    std::uint64_t oldSize = 0;
    std::uint64_t newSize = 0;
    std::uint32_t oldCrc32 = 0;
    std::uint64_t check = 0;   // CRC-64 over the new content and the diff
    std::uint64_t memory = 0;  // upper bound of the memory that ApplyDelta holds, with its result
};

// Reads the header. Errors: Damaged if `diff` does not begin with a valid header.
[[nodiscard]] DeltaInfo InspectDelta(Bytes diff);

// Returns the new content after verifying its check. It lies in the workspace and is valid until
// the next call. Errors: Damaged, WrongOld, OutOfMemory; TooLarge if the diff declares more than
// `sizeLimit` bytes, thrown before memory is allocated for them.
[[nodiscard]] Bytes ApplyDelta(Bytes oldContent, Bytes diff, Workspace& workspace,
                               std::uint64_t sizeLimit = kMaxSize);

}  // namespace delta
