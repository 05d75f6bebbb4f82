#include "tests/support/RawArchive.h"
#include "tests/tools/va/VaProgram.h"

namespace Vorn::Testing {
namespace {

std::string Block(const std::string& id, std::size_t size) {
    return id + U32(size) + std::string(size, 'x');
}

std::string BlockFile(const std::string& blocks) {
    return "MESH" + U32(blocks.size() + 4) + "indx" + blocks;
}

class VaBlocks : public VaProgram {
protected:
    VaBlocks() { folder_.Write("house.im", file_); }

    const std::string file_ =
        BlockFile(Block("INFO", 3) + Block("BIG ", 300000) + Block("E\0\0\0"s, 0));
    const std::string rows_ =
        "          12           3  INFO\n"
        "          23      300000  BIG \n"
        "      300031           0  E\n";
};

TEST_F(VaBlocks, AFileACompressedFileAndAMemberHaveTheSame) {
    ASSERT_EQ(Shell("cd " + folder_.Path() +
                    " && " VARCHIVE " -k -c a House.va house.im"
                    " >/dev/null"),
              0);
    const std::string archive = folder_.Read("House.va");
    const std::size_t stream = archive.find("CFIL");
    folder_.Write("packed.im", archive.substr(stream, archive.rfind("IDX ") - stream));
    ExpectAnswers({
        {"blocks house.im", 0, "house.im: 'MESH', id 'indx', 300,039 bytes\n" + rows_},
        {"blocks packed.im", 0, "packed.im: 'MESH', id 'indx', 300,039 bytes\n" + rows_},
        {"blocks House.va:HOUSE.im", 0, "HOUSE.im: 'MESH', id 'indx', 300,039 bytes\n" + rows_},
        {"blocks house.im", 0, "3 blocks, 300 kB\n"},
        {"blocks --json house.im", 0,
         "{\"type\":\"block\",\"id\":\"BIG \",\"offset\":23,\"size\":300000}"},
        {"blocks House.va", 0, "House.va: 'ARCH', "},
        {"blocks House.va", 0, "           4          32  INFO\n          44"},
    });
}

TEST_F(VaBlocks, WhatDoesNotAgreeIsSaid) {
    folder_.Write("cut.im", file_.substr(0, 1000));
    folder_.Write("tail.im", file_ + "\x1B[2");
    folder_.Write("short.im", "MESH\0\0\0\0ind"s);
    folder_.Write("odd.im", "MESH\4\0\0\0indx\x1B[2J\0\0\0\0"s);
    folder_.Write("empty.im", "");
    ExpectAnswers({
        {"blocks cut.im", 2,
         "the block 'BIG ' at offset 23 has 300,000 bytes, and the file 969; it is damaged"},
        {"blocks cut.im", 2, "warning: cut.im: its header says 300,031 bytes, but it has 992\n"},
        {"blocks tail.im", 1, "tail.im: 3 bytes after the last block\n"},
        {"blocks short.im", 2, "too short for a file of blocks"},
        {"blocks empty.im", 2, "too short for a file of blocks"},
        {"blocks odd.im", 1, "  \\x1b[2J\n"},
        {"blocks nowhere.im", 9, "there is no file 'nowhere.im'"},
        {"blocks nowhere.va:x", 9, "nowhere.va"},
        {"blocks .", 2, "cannot read '.'"},
    });
}

}  // namespace
}  // namespace Vorn::Testing
