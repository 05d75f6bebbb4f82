#include "kernel/Allocator.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <new>

#include "platform/Debugger.h"
#include "platform/Lock.h"

namespace Vorn::Alloc {
namespace {

constexpr std::uint32_t kFromChunk = 0x80000000U;
constexpr std::uint64_t kMaxClass = kFromChunk - 1;
constexpr std::size_t kLocks = 16;

// The counted header has 4 bytes; this one fills a whole step, so that the caller's pointer is
// aligned to 8 bytes. Counts and statistics keep the fixed arithmetic of 4 bytes.
struct Header {
    std::uint32_t padding;
    std::uint32_t sizeClass;  // bit 31 is set for a block carved from a chunk
};
static_assert(sizeof(Header) == kStep);

struct FreeBlock {
    FreeBlock* next;
};

// Chunks are linked only to stay reachable: without it a leak checker would report each one.
struct Chunk {
    Chunk* next;
};

struct ClassList {
    FreeBlock* first = nullptr;
    Chunk* chunks = nullptr;
    std::uint64_t freeCount = 0;
    std::uint64_t allocations = 0;
};

constinit std::array<platform::Lock, kLocks> locks;
constinit std::array<ClassList, kSmallClasses> classes;  // each guarded by its class's lock
constinit std::atomic<std::uint64_t> largeAllocations = 0;
constinit std::atomic<std::uint64_t> largeBytes = 0;

platform::Lock& LockOf(std::uint32_t sizeClass) { return locks[sizeClass % kLocks]; }

constexpr std::size_t CountedSize(std::uint64_t sizeClass) {
    return static_cast<std::size_t>(sizeClass * kStep);
}
constexpr std::size_t PhysicalSize(std::uint64_t sizeClass) {
    return sizeof(Header) + CountedSize(sizeClass);
}

[[noreturn]] void OutOfMemory() {
    platform::DebugOutput("Alloc::New> out of memory!\n");
    throw std::bad_alloc();
}

void* FromHeap(std::size_t size) {
    void* memory = std::malloc(size);
    if (!memory) OutOfMemory();
    return memory;
}

// Writes a block's header at `memory` and returns the address after it, which the caller gets.
void* StampBlock(void* memory, std::uint32_t header) {
    return new (memory) Header{.padding = 0, .sizeClass = header} + 1;
}

Header& HeaderOf(void* block) { return *(static_cast<Header*>(block) - 1); }

void Push(ClassList& list, void* block) {
    list.first = new (block) FreeBlock{list.first};
    ++list.freeCount;
}

void Refill(ClassList& list, std::uint32_t sizeClass) {
    const std::size_t count = kChunkSize / CountedSize(sizeClass);
    const std::size_t size = PhysicalSize(sizeClass);
    auto* memory = static_cast<std::byte*>(FromHeap(sizeof(Chunk) + count * size));
    list.chunks = new (memory) Chunk{list.chunks};
    std::byte* const blocks = memory + sizeof(Chunk);
    for (std::size_t i = count; i-- > 0;) {  // downwards: the lowest address is handed out first
        Push(list, StampBlock(blocks + i * size, sizeClass | kFromChunk));
    }
}

void* NewSmall(std::uint32_t sizeClass) {
    const std::lock_guard guard(LockOf(sizeClass));
    ClassList& list = classes[sizeClass];
    if (!list.first) Refill(list, sizeClass);
    FreeBlock* block = list.first;
    list.first = block->next;
    --list.freeCount;
    ++list.allocations;
    return block;
}

void* NewLarge(std::uint64_t sizeClass) {
    if (sizeClass > kMaxClass) OutOfMemory();
    void* memory = FromHeap(PhysicalSize(sizeClass));
    ++largeAllocations;
    largeBytes += CountedSize(sizeClass);
    return StampBlock(memory, static_cast<std::uint32_t>(sizeClass));
}

}  // namespace

void* New(std::size_t size) {
    // A larger size has no class that fits the header, and would overflow the rounding below.
    if (size > kMaxClass * kStep) OutOfMemory();
    const std::uint64_t sizeClass = SizeClass(size);
    return sizeClass < kSmallClasses ? NewSmall(static_cast<std::uint32_t>(sizeClass))
                                     : NewLarge(sizeClass);
}

void Free(void* block) noexcept {
    if (!block) return;
    Header& header = HeaderOf(block);
    const std::uint32_t sizeClass = header.sizeClass & ~kFromChunk;
    if ((header.sizeClass & kFromChunk) == 0) {
        largeBytes -= CountedSize(sizeClass);
        std::free(&header);
        return;
    }
    const std::lock_guard guard(LockOf(sizeClass));
    Push(classes[sizeClass], block);
}

Statistics GetStatistics() {
    Statistics statistics{.largeAllocations = largeAllocations, .largeBytes = largeBytes};
    for (std::uint32_t c = 1; c < kSmallClasses; ++c) {
        const std::lock_guard guard(LockOf(c));
        statistics.smallAllocations += classes[c].allocations;
    }
    return statistics;
}

std::uint64_t FreeBlocks(std::uint32_t sizeClass) {
    const std::lock_guard guard(LockOf(sizeClass));
    return classes.at(sizeClass).freeCount;
}

}  // namespace Vorn::Alloc
