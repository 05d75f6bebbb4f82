// The lines of l and b.
#include "tests/KernelStandard/FileLayer.h"
#include "tests/tools/archive/ArchiveProgram.h"

namespace Vorn::Testing {
namespace {

class Listing : public ArchiveProgram {};

TEST_F(Listing, EachMemberHasALineOfStoredSizeSizeRatioCrcAndPath) {
    Write({{"digits", "123456789"}, {"none", ""}, {"Data/big", std::string(123'456, 'x')}});
    Do("a x.va digits none");
    Do("-k a x.va Data/big");
    const std::string root =
        "    0k/    0k 100% FC891918 .. .\\digits\n"
        "    0k/    0k 100% 00000000 .. .\\none\n";
    const std::string below = "  120k/  120k 100% 3EDCF3D2 .. Data/big\n";
    const Table<std::string, std::string, std::size_t> rows = {
        {"l x.va", root, 2},
        {"-v l x.va", root, 2},
        {"-r l x.va", root + below, 3},
        {"l x.va 'Data/B*' none", below + root.substr(root.find('\n') + 1), 2},
        {"-r '-xdig*;big' l x.va", root.substr(root.find('\n') + 1), 1},
    };
    for (const auto& [words, lines, count] : rows) {
        SCOPED_TRACE(words);
        EXPECT_EQ(Do(words), lines + "\nProcessed " + std::to_string(count) + " files.\n");
    }
    folder.Write("x.va", RawArchive({{.name = "third", .data = Noise(3'000), .size = 10'000},
                                     {.name = "twice", .data = Noise(2'047), .size = 1'023}}));
    EXPECT_THAT(Do("l x.va"), HasSubstr("    2k/    9k  30% 00000000 .. .\\third\n"
                                        "    1k/    0k 200% 00000000 .. .\\twice\n"));
}

TEST_F(Listing, BlocksAreThoseOfTheFileOnDisk) {
    const std::string head = "TYPE" + U32(100) + "NAME";
    const std::string known = "File Type: TYPE       100 bytes\nFile ID: NAME\n";
    const Table<std::string, std::string> rows = {
        {"TYPE123", "FileType: Unknown\n"},
        {"TYPE" + U32(3) + "NAM", "FileType: Unknown\n"},
        {head, known + " - Total       -        4 bytes\n"},
        {head + "BLK1" + U32(3) + "abcB\0\0\0"s + U32(0) + "BLK3" + U32(0x8000'0000) + "cut",
         known + " - Block: BLK1 -        3 bytes\n - Block:    B -        0 bytes\n"
                 " - Block: BLK3 - 2147483648 bytes\n - Total       - 2147483679 bytes\n"},
    };
    Write({{"d/file", "what the archive holds"}});
    Do("-k a x.va d/file");
    for (const auto& [content, lines] : rows) {
        folder.Write("d/file", content);
        EXPECT_EQ(Do("b x.va d/file"),
                  "Block Listing of d/file:\n\n" + lines + "\nProcessed 1 files.\n");
    }
    fs::remove("d/file");
    EXPECT_EQ(Fail("b x.va d/file").printed, "Error, Cannot open file!\nProcessed 1 files.\n");
}

}  // namespace
}  // namespace Vorn::Testing
