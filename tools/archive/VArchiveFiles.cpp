// The commands on one file: adding, extracting, listing, viewing blocks.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <span>
#include <string_view>

#include "kernel/Exceptions.h"
#include "kernel/LittleEndian.h"
#include "kernel/Paths.h"
#include "tools/archive/OutputFile.h"
#include "tools/archive/TargetMount.h"
#include "tools/archive/VArchive.h"

namespace Vorn {
namespace {

constexpr std::uint32_t kLargestPlainMember = 1024;
constexpr const char* kCannotOpenInput = "Cannot open input file";
constexpr const char* kCannotOpenOutput = "Cannot open output file";
constexpr const char* kCannotReadInput = "Cannot read all of the input file";
constexpr const char* kCannotWriteOutput = "Cannot write output file";

const InternedString toolMount = Intern(kTargetMountName);

// The path under which a record was found.
[[nodiscard]] PathBuffer PathOf(const ToolFileRecord& record) {
    PathBuffer path(record.directory.View());
    AppendPathComponent(path, record.entry.Name());
    return path;
}

[[nodiscard]] PathBuffer SourcePath(const ToolFileRecord& record) {
    std::string_view folder = record.directory.View();
    while (folder.size() >= 2 && folder[0] == '.' && IsSeparator(folder[1])) {
        folder.remove_prefix(2);
    }
    PathBuffer path(folder);
    AppendPathComponent(path, record.entry.Name());
    return path;
}

[[nodiscard]] PathBuffer MemberName(const ToolFileRecord& record, std::string_view sourcePath,
                                    bool keepPaths) {
    std::string_view name = record.entry.Name();
    if (keepPaths) {
        name = sourcePath.substr(sourcePath.rfind(':') + 1);
        if (!name.empty() && IsSeparator(name.front())) name.remove_prefix(1);
    }
    PathBuffer normal(name);
    NormalisePath(normal);
    return normal;
}

[[nodiscard]] bool HasSize(File& file) try {
    return file.Size() <= archive::kMaxArchiveSize;
} catch (const FileEx&) {
    return false;
}

}  // namespace

template <typename Output, typename Report>
const char* VArchive::Copy(File& from, Output& to, std::uint32_t size, archive::Crc32* sum,
                           const Report& report) {
    for (std::uint32_t done = 0; done < size;) {
        const std::uint32_t wanted = std::min(size - done, kCopyBuffer);
        const std::uint32_t got = from.Read(copyBuffer_->data(), wanted);
        const std::uint32_t put = to.Write(copyBuffer_->data(), got);
        done += put;
        if (sum != nullptr) sum->Update(std::span(*copyBuffer_).first(put));
        if (verbose_) report(done);
        if (put < got) return kCannotWriteOutput;
        if (got < wanted) return kCannotReadInput;
    }
    return nullptr;
}

template <typename Work>
bool VArchive::Attempt(const char* lineEnd, const Work& work) {
    try {
        const char* problem = work();
        if (problem == nullptr) return true;
        PrintError(problem, lineEnd);
    } catch (const FileEx& exception) {
        PrintError(exception.GetReason(), lineEnd);
    }
    return false;
}

void VArchive::PrintError(const char* problem, const char* lineEnd) {
    NoteFailure();
    std::printf("Error, %s!%s", problem, lineEnd);
}

void VArchive::AddFile(const ToolCommand& command, const ToolFileRecord& record) {
    File source;
    File member;
    const bool copied =
        Attempt("\n", [&] { return CopyIn(record, command.keepPaths, source, member); });
    source.Close();
    if (!copied) {
        member.Abandon();
    } else if (!member.Close()) {
        PrintError(mount_->WasFull() ? "Archive would pass 4 GiB" : kCannotWriteOutput, "\n");
    }
    FinishFile();
}

const char* VArchive::CopyIn(const ToolFileRecord& record, bool keepPaths, File& source,
                             File& member) {
    const PathBuffer path = SourcePath(record);
    const PathBuffer name = MemberName(record, path.View(), keepPaths);
    const std::uint32_t size = record.entry.size;
    std::printf("Add: %5uk      /%5uk .. %-50.50s ", 0U, record.entry.storedSize >> 10,
                name.c_str());
    // A path of the file system, whatever it holds.
    const InternedString noMount;
    if (source.Open(noMount, path.c_str(), kReadDetect) != RES_OK) return kCannotOpenInput;
    const bool isStream = source.ReadKind() == kReadCompressed;
    if (isStream) {
        source.Close();
        if (source.Open(noMount, path.c_str(), kReadPlain) != RES_OK) return kCannotOpenInput;
    }
    if (!HasSize(source)) return "Input file has 4 GiB or more";
    const bool compress = isStream || (compress_ && size > kLargestPlainMember);
    const FileMode kind = compress ? kWriteCompressed : kWritePlain;
    if (member.Open(toolMount, name.c_str(), kCreateOrTruncate | kind) != RES_OK) {
        return kCannotOpenOutput;
    }
    totalBytes_ = size;
    return Copy(source, member, size, nullptr, [](std::uint32_t done) {
        std::printf("\rAdd: %5uk", done >> 10);
        ShowNow();
    });
}

void VArchive::ExtractFile(const ToolCommand& command, const ToolFileRecord& record) {
    File member;
    Attempt("", [&] { return CopyOut(command, record, member); });
    member.Close();
    FinishFile();
}

const char* VArchive::CopyOut(const ToolCommand& command, const ToolFileRecord& record,
                              File& member) {
    const archive::FindEntry& entry = record.entry;
    PathBuffer path;
    if (prefixGiven_) {
        path = PathBuffer(prefixPath_.View());
        ReplaceExtension(path, nullptr);
    }
    AppendPathComponent(path, record.prefix.View());
    AppendPathComponent(path, entry.Name());
    const PathBuffer memberPath = PathOf(record);
    std::printf("%5uk %3.0f%%/%5uk .. %s", verbose_ ? 0 : entry.size >> 10, verbose_ ? 0.0 : 100.0,
                entry.size >> 10, path.c_str());

    // Plain content may begin like a compressed stream.
    const bool plain =
        (entry.attributes & archive::kMemberCompressed) == 0 && entry.storedSize == entry.size;
    const FileMode readKind = plain ? kReadPlain : kReadDetect;
    if (member.Open(toolMount, memberPath.c_str(), readKind) != RES_OK) return kCannotOpenInput;
    std::string prepared;
    if (!destination_) destination_.emplace(NamedFolders(command), command.target.Text());
    if (const char* problem = destination_->Prepare(path.View(), prepared)) return problem;
    OutputFile file;
    if (!file.Open(prepared)) return kCannotOpenOutput;
    if (member.Size() != entry.size) {
        ReportProblem(std::string("not the size that is listed: ") + memberPath.c_str());
    }
    archive::Crc32 sum;
    const char* problem = Copy(member, file, entry.size, &sum, [&](std::uint32_t done) {
        std::printf("\r%5uk %3.0f%%", done >> 10, done * 100.0 / entry.size);
        ShowNow();
    });
    if (problem == nullptr && entry.crc != 0 && sum.Value() != entry.crc) {
        ReportProblem(std::string("damaged, its check sum is another one: ") + memberPath.c_str());
    }
    if (problem != nullptr) return problem;
    // Where nothing was, there is no need to look at what would be replaced.
    if (file.Place()) return nullptr;
    problem = destination_->CheckExisting(prepared);
    return problem != nullptr || file.Replace() ? problem : kCannotOpenOutput;
}

// -p takes part twice in a destination; with ".." in it the two may be different folders.
std::vector<std::string> VArchive::NamedFolders(const ToolCommand& command) const {
    if (!prefixGiven_) return {""};
    PathBuffer folder(prefixPath_.View());
    ReplaceExtension(folder, nullptr);
    std::vector<std::string> named{folder.c_str()};
    AppendPathComponent(folder, command.SwitchValue('p'));
    named.emplace_back(folder.c_str());
    return named;
}

void VArchive::ListFile(const ToolFileRecord& record) {
    const archive::FindEntry& entry = record.entry;
    const double ratio = entry.size == 0 ? 100.0 : entry.storedSize * 100.0 / entry.size;
    Attempt("\n", [&]() -> const char* {
        std::printf("%5uk/%5uk %3.0f%% %08X .. %s\n", entry.storedSize >> 10, entry.size >> 10,
                    ratio, entry.crc, PathOf(record).c_str());
        return nullptr;
    });
}

void VArchive::ViewBlocks(const ToolFileRecord& record) {
    File file;
    Attempt("", [&] {
        const PathBuffer path = PathOf(record);
        return file.Open(path.c_str(), kReadDetect) == RES_OK ? PrintBlocks(file, path.c_str())
                                                              : "Cannot open file";
    });
}

const char* VArchive::PrintBlocks(File& file, const char* path) {
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
        if (size >= bytes.size()) ReportProblem(std::string("cannot read all of ") + path);
        return nullptr;
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
    if (file.Size() != size) ReportProblem(std::string("cannot read all of ") + path);
    return nullptr;
}

}  // namespace Vorn
