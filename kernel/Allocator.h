// The kernel's small-block allocator, for its many short-lived small objects.
//
// Requests of up to 1012 bytes are served from a free list per size class, refilled in chunks of
// 32 KB; larger ones go to the general heap. Memory of small blocks is recycled for the life of
// the process and never given back. Needs no setting up and no teardown, so any static object may
// use it. The state lives in constant-initialised tables from which every chunk can be reached.
//
// Threads: any thread may allocate and free. Class c is guarded by lock c mod 16; large requests
// take no lock.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Vorn::Alloc {

// The arithmetic of a block as it is counted: a 4-byte header and the request, in steps of 8.
inline constexpr std::size_t kHeaderSize = 4;
inline constexpr std::size_t kStep = 8;
inline constexpr std::size_t kChunkSize = 32768;
inline constexpr std::uint32_t kSmallClasses = 128;  // classes 1 to 127 are small

[[nodiscard]] constexpr std::uint64_t SizeClass(std::uint64_t size) noexcept {
    return (size + kHeaderSize + kStep - 1) / kStep;
}

// At least `size` bytes, aligned to 8 bytes (types of stricter alignment do not belong here). A
// request of 0 bytes is a block of its own. Throws std::bad_alloc when the general heap is
// exhausted, after telling the debugger.
[[nodiscard]] void* New(std::size_t size);

// Gives back a block of New; it is the next one handed out in its class. Null is ignored.
void Free(void* block) noexcept;

struct Statistics {
    std::uint64_t smallAllocations = 0;
    std::uint64_t largeAllocations = 0;
    std::uint64_t largeBytes = 0;  // held now, headers included
};
[[nodiscard]] Statistics GetStatistics();

// Blocks that wait in the free list of a small class.
[[nodiscard]] std::uint64_t FreeBlocks(std::uint32_t sizeClass);

}  // namespace Vorn::Alloc
