#include "kernel/Allocator.h"

#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

using namespace Alloc;

TEST(Allocator, ServesEachSizeFromItsClass) {
    for (const auto& [size, sizeClass] :
         Table<std::size_t, std::uint32_t>{{0, 1}, {4, 1}, {5, 2}, {12, 2}, {13, 3}, {1012, 127}}) {
        SCOPED_TRACE(size);
        const auto before = GetStatistics().smallAllocations;
        Free(New(size));  // the class has a free block from here on
        const std::uint64_t free = FreeBlocks(sizeClass);
        void* block = New(size);
        EXPECT_EQ(FreeBlocks(sizeClass), free - 1);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 8, 0u);
        Free(block);
        EXPECT_EQ(GetStatistics().smallAllocations, before + 2);
    }
    const Statistics before = GetStatistics();
    void* large = New(1013);
    EXPECT_EQ(GetStatistics().largeAllocations, before.largeAllocations + 1);
    EXPECT_EQ(GetStatistics().largeBytes, before.largeBytes + 1024);
    Free(large);
    EXPECT_EQ(GetStatistics().largeBytes, before.largeBytes);
    Free(nullptr);
    setenv("VORN_DEBUG_OUTPUT", "1", 1);
    for (const std::size_t size : {SIZE_MAX, SIZE_MAX - 8, std::size_t{1} << 34}) {
        testing::internal::CaptureStderr();
        EXPECT_THROW((void)New(size), std::bad_alloc) << size;
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "Alloc::New> out of memory!\n");
    }
    unsetenv("VORN_DEBUG_OUTPUT");
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

// Each thread fills blocks of its own, keeps some and leaves them to the main thread.
TEST(Allocator, BlocksNeverOverlapAndPassBetweenThreads) {
    std::vector<std::vector<std::span<unsigned char>>> made(4);
    InThreads(made.size(), [&made](std::size_t t) {
        for (std::size_t i = 0; i < 4000; ++i) {
            const std::size_t size = i * 16 % 1500;
            const std::span block(static_cast<unsigned char*>(New(size)), size);
            std::ranges::fill(block, static_cast<unsigned char>(i % 61 * 4 + t));
            if (i % 4 != 0) {
                Free(block.data());
            } else {
                made[t].push_back(block);
            }
        }
    });
    for (std::size_t t = 0; t < made.size(); ++t) {
        for (std::size_t i = 0; i < made[t].size(); ++i) {
            const std::size_t written = i * 4 % 61 * 4 + t;
            ASSERT_TRUE(std::ranges::all_of(made[t][i], [=](auto b) { return b == written; }));
            Free(made[t][i].data());
        }
    }
    void* first = New(40);
    void* second = New(40);
    Free(first);
    Free(second);
    EXPECT_EQ(New(40), second) << "the last freed is the first reused";
    EXPECT_EQ(New(40), first);
    Free(first);
    Free(second);
}

}  // namespace
}  // namespace Vorn::Testing
