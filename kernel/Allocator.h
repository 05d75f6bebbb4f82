// The kernel's small-block allocator, for its many short-lived small objects.
//
// Requests of up to 1012 bytes are served from a free list per size class, refilled in chunks of
// 32 KB; larger ones go to the general heap. Small blocks are recycled for the life of the process
// and never returned to the heap. The state is constant-initialised and has no teardown, so any
// static object may use the allocator; its tables reach every chunk, so leak checkers stay silent.
//
// Threads: any thread may allocate and free. Class c is guarded by lock c mod 16; large requests
// take no lock.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Vorn::Alloc {

// How a block is counted: a 4-byte header and the request, rounded up to steps of 8.
inline constexpr std::size_t kHeaderSize = 4;
inline constexpr std::size_t kStep = 8;
inline constexpr std::size_t kChunkSize = 32768;
inline constexpr std::uint32_t kSmallClasses = 128;  // classes 1 to 127 are small

[[nodiscard]] constexpr std::uint64_t SizeClass(std::uint64_t size) noexcept {
    return (size + kHeaderSize + kStep - 1) / kStep;
}

// Returns at least `size` bytes, aligned to 8 bytes (do not use it for stricter types). A request
// of 0 bytes returns a separate block. Writes a line to the debugger and throws std::bad_alloc when
// the general heap is exhausted.
[[nodiscard]] void* New(std::size_t size);

// Returns a block of New to its class, which hands it out next. Ignores null.
void Free(void* block) noexcept;

struct Statistics {
    std::uint64_t smallAllocations = 0;
    std::uint64_t largeAllocations = 0;
    std::uint64_t largeBytes = 0;  // held now, headers included
};
[[nodiscard]] Statistics GetStatistics();

// Returns the number of blocks in the free list of a small class.
[[nodiscard]] std::uint64_t FreeBlocks(std::uint32_t sizeClass);

}  // namespace Vorn::Alloc
