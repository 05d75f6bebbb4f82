#include "kernel/Allocator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <set>
#include <span>
#include <vector>

#include "tests/kernel/InThreads.h"

namespace Vorn::Alloc {
namespace {

TEST(Allocator, ServesEachSizeFromItsClass) {
    const struct {
        std::size_t size;
        std::uint32_t sizeClass;
    } rows[] = {{0, 1}, {4, 1}, {5, 2}, {12, 2}, {13, 3}, {1012, 127}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.size);
        const Statistics before = GetStatistics();
        Free(New(row.size));  // the class has a free block from here on
        const std::uint64_t free = FreeBlocks(row.sizeClass);
        void* block = New(row.size);
        EXPECT_EQ(FreeBlocks(row.sizeClass), free - 1);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 8, 0u);
        Free(block);
        EXPECT_EQ(GetStatistics().smallAllocations, before.smallAllocations + 2);
    }
    const Statistics before = GetStatistics();
    void* large = New(1013);
    EXPECT_EQ(GetStatistics().largeAllocations, before.largeAllocations + 1);
    EXPECT_EQ(GetStatistics().largeBytes, before.largeBytes + 1024);
    Free(large);
    EXPECT_EQ(GetStatistics().largeBytes, before.largeBytes);
    Free(nullptr);
}

TEST(Allocator, AChunkHoldsWhatFitsIn32Kilobytes) {
    constexpr std::uint32_t kClass = 100;
    std::vector<void*> blocks;
    do {
        blocks.push_back(New(kClass * 8 - 4));
    } while (FreeBlocks(kClass) > 0);
    blocks.push_back(New(kClass * 8 - 4));
    EXPECT_EQ(FreeBlocks(kClass), 32768u / 800 - 1);
    for (void* block : blocks) Free(block);
}

TEST(Allocator, LastFreedIsFirstReusedAndBlocksNeverOverlap) {
    std::set<void*> seen;
    std::vector<unsigned char*> blocks;
    for (std::size_t i = 0; i < 3000; ++i) {
        blocks.push_back(static_cast<unsigned char*>(New(i % 1500)));
        std::memset(blocks[i], static_cast<int>(i % 251), i % 1500);
        EXPECT_TRUE(seen.insert(blocks[i]).second);
    }
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const auto written = std::span(blocks[i], i % 1500);
        ASSERT_TRUE(std::ranges::all_of(written, [i](auto byte) { return byte == i % 251; })) << i;
        Free(blocks[i]);
    }
    void* first = New(40);
    void* second = New(40);
    Free(first);
    Free(second);
    EXPECT_EQ(New(40), second);
    EXPECT_EQ(New(40), first);
    Free(first);
    Free(second);
}

TEST(Allocator, RefusesWhatNoClassCanHold) {
    constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();
    for (const std::size_t size : {kMost, kMost - 8, std::size_t{1} << 34}) {
        EXPECT_THROW(static_cast<void>(New(size)), std::bad_alloc) << size;
    }
}

TEST(Allocator, ThreadsPassBlocksToEachOther) {
    std::vector<std::vector<unsigned char*>> made(4);
    InThreads(made.size(), [&made](std::size_t t) {
        for (std::size_t i = 0; i < 4000; ++i) {
            auto* block = static_cast<unsigned char*>(New(1 + i % 64 * 16));
            *block = static_cast<unsigned char>(t);
            if (i % 4 == 0) {
                made[t].push_back(block);
            } else {
                Free(block);
            }
        }
    });
    for (std::size_t t = 0; t < made.size(); ++t) {
        for (unsigned char* block : made[t]) {
            ASSERT_EQ(*block, t);
            Free(block);
        }
    }
}

}  // namespace
}  // namespace Vorn::Alloc
