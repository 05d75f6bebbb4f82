// Archives and files of 4 GiB, which take no room on disk.
#include <fstream>

#include "tests/KernelStandard/FileLayer.h"
#include "tests/tools/archive/ArchiveProgram.h"

namespace Vorn::Testing {
namespace {

constexpr std::uint64_t kFourGiB = std::uint64_t{1} << 32;
constexpr std::uint64_t kMemberOverhead = 296 + 296;  // in its chunk and in the index

class Limits : public ArchiveProgram {
protected:
    // Writes "x.va" with the member "kept" after a deleted one. It can grow by `room` bytes.
    void MakeArchive(std::uint64_t room) const {
        const RawMember kept{"kept", "kept"};
        const std::string chunk = RawChunk(kept);
        const std::string index = U32(296) + U32(kept.data.size()) + RawEntry(kept);
        const std::uint64_t end = kFourGiB - 1 - room;  // of the file
        const std::uint64_t indexAt = end - 8 - index.size();
        const std::uint64_t chunkAt = indexAt - chunk.size();
        std::string bytes = RawArchive({});
        Put32(bytes, kCountAt, 1);
        Put32(bytes, kIndexOffsetAt, static_cast<std::uint32_t>(indexAt));
        bytes.replace(kFirstMember, 8, "FIL!" + U32(chunkAt - kFirstMember - 8));
        folder.Write("x.va", bytes);
        std::string tail = chunk + "IDX " + U32(index.size()) + index;
        Put32(tail, chunk.size() + 8, static_cast<std::uint32_t>(chunkAt + 296));
        fs::resize_file("x.va", chunkAt);
        std::ofstream("x.va", std::ios::binary | std::ios::app) << tail;
        ASSERT_EQ(fs::file_size("x.va"), end);
    }
};

TEST_F(Limits, AnArchiveThatWouldPass4GiBStaysAsItIs) {
    const Table<std::string, std::string, std::uint64_t, bool> rows = {
        {"a", Noise(10'000), kMemberOverhead + 10'000, true},
        {"a", Noise(10'000), kMemberOverhead + 9'999, false},
        {"a", "", kMemberOverhead, true},
        {"a", "", kMemberOverhead - 1, false},
        {"a", "", 0, false},
        {"a", Prose(100'000), kMemberOverhead + 50'000, false},
        {"-c a", Prose(100'000), kMemberOverhead + 50'000, true},
        {"-c a", Noise(100'000), kMemberOverhead + 50'000, false},
    };
    for (const auto& [command, content, room, fits] : rows) {
        SCOPED_TRACE(command + " " + std::to_string(content.size()) + " " + std::to_string(room));
        MakeArchive(room);
        folder.Write("new", content);
        const Outcome outcome = Run(command + " x.va new");
        EXPECT_EQ(outcome.exitCode, fits ? 0 : 1) << outcome.problems;
        EXPECT_EQ(CountOf("Error, Archive would pass 4 GiB!\n", outcome.printed), fits ? 0U : 1U)
            << outcome.printed;
        EXPECT_LT(fs::file_size("x.va"), kFourGiB);
        Files members{{"kept", "kept"}};
        if (fits) members["new"] = content;
        EXPECT_TRUE(Unpack("x.va") == members);
    }
}

TEST_F(Limits, AFileOf4GiBIsRefusedAndTheOthersAreAdded) {
    Write({{"small", "s"}, {"large", ""}, {"other", "no archive"}});
    fs::resize_file("large", kFourGiB);
    EXPECT_THAT(Fail("-c a x.va large small").printed,
                HasSubstr("Error, Input file has 4 GiB or more!\n"));
    EXPECT_TRUE(Unpack("x.va") == (Files{{"small", "s"}}));
    fs::resize_file("other", kFourGiB + 1);
    Fail("a other small");
    EXPECT_EQ(fs::file_size("other"), kFourGiB + 1);
    Fail("@large l x.va");
}

}  // namespace
}  // namespace Vorn::Testing
