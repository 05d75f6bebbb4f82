#include "tools/archive/ViewCommands.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <string>

#include "kernel/LittleEndian.h"

namespace Vorn {

void ListCommand::Process(const ToolFileRecord& record) {
    const archive::FindEntry& entry = record.entry;
    // A member without content has the ratio 100.
    const double ratio = entry.size == 0 ? 100.0 : entry.storedSize * 100.0 / entry.size;
    std::printf("%5uk/%5uk %3.0f%% %08X .. %s\n", entry.storedSize >> 10, entry.size >> 10, ratio,
                entry.crc, record.Path().c_str());
}

void BlocksCommand::Process(const ToolFileRecord& record) {
    Attempt("", [&]() -> const char* {
        const PathBuffer path = record.Path();
        File file;
        if (file.Open(path.c_str(), kReadDetect) != RES_OK) return "Cannot open file";
        Print(file, path.c_str());
        return nullptr;
    });
}

void BlocksCommand::Print(File& file, const char* path) {
    constexpr std::uint32_t kBlockHeader = 8;
    constexpr std::uint32_t kIdentifier = 4;
    std::array<std::byte, kBlockHeader + kIdentifier> bytes{};
    const std::span<const std::byte, kBlockHeader + kIdentifier> head(bytes);
    const auto text = [&](std::size_t at) {
        return reinterpret_cast<const char*>(bytes.data()) + at;
    };
    std::printf("Block Listing of %s:\n\n", path);
    const std::uint32_t size = file.Size();
    if (file.Read(bytes.data(), kBlockHeader) != kBlockHeader ||
        file.Read(bytes.data() + kBlockHeader, kIdentifier) != kIdentifier) {
        std::printf("FileType: Unknown\n");
        if (size >= bytes.size()) {
            Reporter().ReportProblem(std::string("cannot read all of ") + path);
        }
        return;
    }
    std::printf("File Type: %4.4s  %8u bytes\n", text(0), LoadU32<4>(head));
    std::printf("File ID: %4.4s\n", text(kBlockHeader));
    std::uint64_t total = kIdentifier;
    while (file.Read(bytes.data(), kBlockHeader) == kBlockHeader) {
        const std::uint32_t count = LoadU32<4>(head);
        total += std::uint64_t{count} + kBlockHeader;
        std::printf(" - Block: %4.4s - %8u bytes\n", text(0), count);
        if (file.Seek(count, SeekFrom::Current) == kFailedSeek) break;
    }
    std::printf(" - Total       - %8" PRIu64 " bytes\n", total);
    // A failed read sets the size to 0, and otherwise looks like the end of the file.
    if (file.Size() != size) Reporter().ReportProblem(std::string("cannot read all of ") + path);
}

}  // namespace Vorn
