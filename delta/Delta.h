// Byte diffs in memory (format: docs/formats/diff.md): how to make new content from old content.
//
// All state is in a Workspace. There are no globals and no threads: one workspace serves one thread
// at a time, and threads with a workspace each work independently. Every function that fails throws
// Error, and leaves its workspace fit for further use. The same input gives the same bytes in every
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
    // looks for fewer matches and packs with smaller tables, and so makes larger diffs.
    std::uint64_t memoryLimit = kNoLimit;
};

// The tables, buffers and library contexts that diffs are made and applied with. A new one is
// small; it grows to what the largest pair so far took, and small pairs then pay for no set-up.
class Workspace {
public:
    Workspace();
    ~Workspace();
    Workspace(Workspace&&) noexcept;
    Workspace& operator=(Workspace&&) noexcept;

    // Bytes that it holds now, results included.
    [[nodiscard]] std::uint64_t MemoryHeld() const;

    // Frees all of it. Results of this workspace become invalid.
    void Release();

    struct Parts;
    [[nodiscard]] Parts& Get() { return *parts_; }

private:
    std::unique_ptr<Parts> parts_;
};

// Returns the smallest diff that any of the methods makes. It lies in the workspace until MakeDelta
// is called again. Errors: TooLarge; OutOfMemory, before any work if it is the limit that is below
// the size of the new content and kMostOverhead.
[[nodiscard]] Bytes MakeDelta(Bytes oldContent, Bytes newContent, Workspace& workspace,
                              const Options& options = {});

// Returns an upper bound of what MakeDelta holds for inputs of these sizes, its result included, so
// that a caller can decide how many workspaces to run at a time. It is at most the limit, except
// that OutOfMemory is thrown as MakeDelta would.
[[nodiscard]] std::uint64_t MemoryToMake(std::uint64_t oldSize, std::uint64_t newSize,
                                         const Options& options = {});

// What the header of a diff declares, unchecked.
struct DeltaInfo {
    std::uint64_t oldSize = 0;
    std::uint64_t newSize = 0;
    std::uint32_t oldCrc32 = 0;
    std::uint64_t check = 0;   // CRC-64 over the new content and the diff
    std::uint64_t memory = 0;  // upper bound of what ApplyDelta holds, its result included
};

// Errors: Damaged for anything but a diff whose header is sound.
[[nodiscard]] DeltaInfo InspectDelta(Bytes diff);

// Returns the new content, checked. It lies in the workspace until ApplyDelta is called again.
// Errors: Damaged, WrongOld, OutOfMemory; TooLarge if the diff declares more than `sizeLimit`,
// before memory is taken for it.
[[nodiscard]] Bytes ApplyDelta(Bytes oldContent, Bytes diff, Workspace& workspace,
                               std::uint64_t sizeLimit = kMaxSize);

}  // namespace delta
