#include "tools/archive/AddCommand.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "KernelStandard/File.h"
#include "KernelStandard/FileSubArchive.h"
#include "archive/Stream.h"
#include "kernel/Paths.h"

namespace Vorn {
namespace {

constexpr const char* kCannotReadInput = "Cannot read all of the input file";
constexpr const char* kCannotOpenOutput = "Cannot open output file";

AddCommand* running = nullptr;

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

[[nodiscard]] bool ReadWhole(platform::FileHandle& source, std::span<std::byte> into) {
    return source.Read(into) == static_cast<std::int64_t>(into.size());
}

}  // namespace

AddCommand::AddCommand(const Context& context)
    : ArchiveCommand(context), compress_(Line().HasSwitch('c')), verbose_(Line().verbose) {
    running = this;
    FileSubArchive::SetProgressHook([](std::uint32_t consumed, std::uint32_t written) {
        running->Progress().ShowWritten(consumed, written, running->verbose_);
    });
}

AddCommand::~AddCommand() {
    FileSubArchive::SetProgressHook(nullptr);
    running = nullptr;
}

bool AddCommand::Begin() {
    Reporter().CheckReadable(Target(), Line().target);
    FileSubArchive* archive = Target().Archive();
    if (!archive) return true;
    if (!archive->BeginChanges()) {
        Reporter().ReportProblem(std::string("cannot change ") + Line().target.Text() +
                                 ": another process is changing it; try again when that has ended");
        return false;
    }
    archive->AddInBatches();
    return true;
}

void AddCommand::Process(const ToolFileRecord& record) {
    Attempt("\n", [&] { return Add(record); });
    Progress().FinishFile();
}

void AddCommand::End() {
    FileSubArchive* archive = Target().Archive();
    if (archive && !archive->Flush()) ReportLost({});
}

const char* AddCommand::Add(const ToolFileRecord& record) {
    const PathBuffer path = SourcePath(record);
    const PathBuffer name = MemberName(record, path.View(), Line().keepPaths);
    const std::uint32_t size = record.entry.size;
    std::printf("Add: %5uk      /%5uk .. %-50.50s ", 0U, record.entry.storedSize >> 10,
                name.c_str());
    // A small file is read at once, so that nothing needs to be kept from writing to it afterwards.
    platform::FileHandle source;
    const auto share =
        size <= Buffer().size() ? platform::Share::CheckOnly : platform::Share::DenyWrite;
    if (!source.Open(path.c_str(), platform::Access::Read, platform::Creation::OpenExisting,
                     share)) {
        return "Cannot open input file";
    }
    // The size of an entry has 32 bits: a larger file has this one as well.
    if (size == archive::kMaxArchiveSize &&
        source.Length() > std::int64_t{archive::kMaxArchiveSize}) {
        return "Input file has 4 GiB or more";
    }
    const auto start = Buffer().first(std::min<std::size_t>(size, Buffer().size()));
    if (!ReadWhole(source, start)) return kCannotReadInput;
    // Stored plain, a compressed stream would be read as its content.
    const bool isStream = start.size() >= archive::kStreamHeaderSize &&
                          archive::IsStreamMark(start.first(archive::kStreamHeaderSize));
    const bool compress = isStream || (compress_ && size > archive::kLargestPlain);
    Progress().SetTotal(size);
    // Larger files pass through a temporary file, so that one that cannot be read to its end leaves
    // the archive as it is.
    const bool atOnce = start.size() == size && Target().Archive();
    const char* problem = atOnce ? AddAtOnce(name.c_str(), size, compress)
                                 : AddInPieces(source, name.c_str(), size, compress);
    if (problem) ReportLost(name.View());
    return problem;
}

const char* AddCommand::AddAtOnce(const char* name, std::uint32_t size, bool compress) {
    FileSubArchive& archive = *Target().Archive();
    if (!archive.CanAdd(name)) return kCannotOpenOutput;
    if (size > 0) ShowCopied(size);
    return archive.AddMember(name, Buffer().first(size), compress) ? nullptr : WriteProblem();
}

const char* AddCommand::AddInPieces(platform::FileHandle& source, const char* name,
                                    std::uint32_t size, bool compress) {
    File member;
    const FileMode kind = compress ? kWriteCompressed : kWritePlain;
    const FileResult opened = member.Open(targetMount, name, kCreateOrTruncate | kind);
    if (opened != RES_OK) return kCannotOpenOutput;
    for (std::uint32_t done = 0; done < size;) {
        const auto count =
            static_cast<std::uint32_t>(std::min<std::size_t>(size - done, Buffer().size()));
        const char* problem = nullptr;
        if (done > 0 && !ReadWhole(source, Buffer().first(count))) {
            problem = kCannotReadInput;
        } else if (member.Write(Buffer().data(), count) != count) {
            problem = WriteProblem();
        }
        if (problem) {
            member.Abandon();
            return problem;
        }
        done += count;
        ShowCopied(done);
    }
    source.Close();
    return member.Close() ? nullptr : WriteProblem();
}

const char* AddCommand::WriteProblem() const {
    const FileSubArchive* archive = Target().Archive();
    return archive && archive->WasFull() ? "Archive would pass 4 GiB" : "Cannot write output file";
}

void AddCommand::ShowCopied(std::uint32_t bytes) const {
    if (!verbose_) return;
    std::printf("\rAdd: %5uk", bytes >> 10);
    FileProgress::ShowNow();
}

void AddCommand::ReportLost(std::string_view name) const {
    FileSubArchive* archive = Target().Archive();
    if (!archive) return;
    for (const std::string& lost : archive->TakeLost()) {
        if (lost != name) {
            Reporter().ReportProblem("cannot add " + lost +
                                     ": the archive cannot be written; make room and add it again");
        }
    }
}

}  // namespace Vorn
