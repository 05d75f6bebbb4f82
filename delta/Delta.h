// Byte diffs in memory (format: docs/formats/diff.md): how to make new content from old content.
//
// MakeDelta finds the pieces of the new content that exist in the old one, codes places,
// differences and fresh bytes in the way that suits their amount, tries zstd with the old content
// as its prefix as well, and keeps the smallest result. So the four methods of the format are not
// for a caller to choose.
//
// All state is in a Workspace. There are no globals and no threads: a workspace serves one thread
// at a time, and threads with separate workspaces are independent. Every function that fails throws
// Error, and its workspace can still be used. The same input gives the same bytes in every
// workspace, whatever it was used for before.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>

#include "delta/Error.h"

namespace delta {

using Bytes = std::span<const std::byte>;

// Content of 4 GiB and more is refused.
constexpr std::uint64_t kMaxSize = 0xffffffffU;

constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();

// A diff has at most this many bytes more than the new content.
constexpr std::size_t kMostOverhead = 24;

struct Options {
    // Bytes that MakeDelta may hold beside its two inputs, its result included. Under a limit it
    // searches less and packs with smaller tables, so that diffs become larger.
    std::uint64_t memoryLimit = kNoLimit;
};

// The tables, buffers and library contexts of making and applying. A new one is small; it grows to
// the needs of the largest pair so far, and is kept because setting up costs more than the work for
// a small pair.
class Workspace {
public:
    Workspace();
    ~Workspace();
    Workspace(Workspace&&) noexcept;
    Workspace& operator=(Workspace&&) noexcept;

    // Returns the bytes that it holds now, results included.
    [[nodiscard]] std::uint64_t MemoryHeld() const;

    // Frees all of it. Results of this workspace become invalid.
    void Release();

    struct Parts;
    [[nodiscard]] Parts& Get() { return *parts_; }

private:
    std::unique_ptr<Parts> parts_;
};

// Returns the smallest diff that any of the methods makes. It lies in the workspace until the next
// call. Errors: TooLarge; OutOfMemory, before any work if the limit is below the size of the new
// content plus kMostOverhead.
[[nodiscard]] Bytes MakeDelta(Bytes oldContent, Bytes newContent, Workspace& workspace,
                              const Options& options = {});

// Returns an upper bound of the bytes that MakeDelta holds for inputs of these sizes, its result
// included, so that a caller can decide how many workspaces to use at a time. It is at most the
// limit. Errors: as MakeDelta's before any work.
[[nodiscard]] std::uint64_t MemoryToMake(std::uint64_t oldSize, std::uint64_t newSize,
                                         const Options& options = {});

// The content of a diff's header, unchecked.
struct DeltaInfo {
    std::uint64_t oldSize = 0;
    std::uint64_t newSize = 0;
    std::uint32_t oldCrc32 = 0;
    std::uint64_t check = 0;   // CRC-64 over the new content and the diff
    std::uint64_t memory = 0;  // upper bound of the bytes that ApplyDelta holds, with its result
};

// Reads the header. Errors: Damaged for anything but a diff with a sound header.
[[nodiscard]] DeltaInfo InspectDelta(Bytes diff);

// Returns the new content, checked. It lies in the workspace until the next call. Errors: Damaged,
// WrongOld, OutOfMemory; TooLarge if the diff declares more than `sizeLimit` bytes, before memory
// is allocated for them.
[[nodiscard]] Bytes ApplyDelta(Bytes oldContent, Bytes diff, Workspace& workspace,
                               std::uint64_t sizeLimit = kMaxSize);

}  // namespace delta
