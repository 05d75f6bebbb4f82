#include "tools/archive/ExtractCommand.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "archive/Crc32.h"
#include "kernel/Paths.h"

namespace Vorn {
namespace {

// The texts of the lines are fixed.
constexpr const char* kCannotOpenOutput = "Cannot open output file";
constexpr const char* kCannotWriteOutput = "Cannot write output file";
constexpr const char* kCannotReadInput = "Cannot read all of the input file";

// Larger members are copied piece by piece and placed at once: the system's time for creating a
// file does not count beside their content, and memory and lines must not wait for it.
constexpr std::uint32_t kMostWaiting = 65536;

[[nodiscard]] PathBuffer WithoutExtension(const String& prefix) {
    PathBuffer path(prefix.View());
    ReplaceExtension(path, nullptr);
    return path;
}

}  // namespace

ExtractCommand::ExtractCommand(const Context& context, std::optional<String> prefix)
    : ArchiveCommand(context),
      prefix_(std::move(prefix)),
      // A file that waits may have the name of a folder that is wanted now.
      destination_(NamedFolders(), Line().target.Text(),
                   [this](const std::string& folder) {
                       if (queue_.Holds(folder)) queue_.Drain();
                   }),
      queue_(
          [this](ExtractedFile& file) {
              if (const char* problem = Place(file)) file.problem = problem;
          },
          [this](const ExtractedFile& file) { Report(file); }),
      mayWait_(Target().Archive() && !Line().verbose) {}

bool ExtractCommand::MayWait(const ToolFileRecord& record) const {
    return mayWait_ && record.entry.size <= kMostWaiting;
}

// The value of -p is in a destination twice; with ".." in it these may be two folders.
std::vector<std::string> ExtractCommand::NamedFolders() const {
    if (!prefix_) return {""};
    PathBuffer folder = WithoutExtension(*prefix_);
    std::vector<std::string> named{folder.c_str()};
    AppendPathComponent(folder, Line().SwitchValue('p'));
    named.emplace_back(folder.c_str());
    return named;
}

PathBuffer ExtractCommand::PathOnDisk(const ToolFileRecord& record) const {
    PathBuffer path;
    if (prefix_) path = WithoutExtension(*prefix_);
    AppendPathComponent(path, record.prefix.View());
    AppendPathComponent(path, record.entry.Name());
    return path;
}

void ExtractCommand::Process(const ToolFileRecord& record) {
    const bool mayWait = MayWait(record);
    if (!mayWait) queue_.Drain();
    ExtractedFile& file = queue_.Next();
    file.record = &record;
    try {
        if (const char* problem = Extract(record, file)) file.problem = problem;
    } catch (const FileEx& exception) {
        file.problem = exception.GetReason();
    }
    if (!file.problem.empty()) file.file.GiveUp();
    // Where the system has no files without names, a killed process leaves at most one behind.
    const bool leavesTrace = file.problem.empty() && !file.file.IsUnnamed();
    queue_.Add();
    // After the last file the tool prints its closing line.
    const bool isLast = &record == &Line().files.back();
    if (!mayWait || leavesTrace || isLast) queue_.Drain();
}

const char* ExtractCommand::Extract(const ToolFileRecord& record, ExtractedFile& file) {
    const archive::FindEntry& entry = record.entry;
    const PathBuffer path = PathOnDisk(record);
    char start[48];
    std::snprintf(start, sizeof start, "%5uk %3u%%/%5uk .. ", Line().verbose ? 0 : entry.size >> 10,
                  Line().verbose ? 0 : 100, entry.size >> 10);
    file.line = start;
    file.line += path.View();
    // The progress of the copying follows on the same line.
    if (Line().verbose) std::fputs(std::exchange(file.line, {}).c_str(), stdout);
    // Plain content may begin like a compressed stream.
    const bool plain =
        (entry.attributes & archive::kMemberCompressed) == 0 && entry.storedSize == entry.size;
    File member;
    const FileMode mode = plain ? kReadPlain : kReadDetect;
    if (member.Open(targetMount, record.Path().c_str(), mode) != RES_OK) {
        return "Cannot open input file";
    }
    const char* problem = Create(path.View(), file);
    if (problem && !queue_.IsEmpty()) {
        // The files that wait may hold all descriptors that the process may have.
        queue_.Drain();
        problem = Create(path.View(), file);
    }
    if (problem) return problem;
    if (member.Size() != entry.size) Warn(file, " does not have the size that the index lists");
    return MayWait(record) ? Load(member, file) : Copy(member, file);
}

const char* ExtractCommand::Create(std::string_view path, ExtractedFile& file) {
    if (const char* problem = destination_.Prepare(path, file.place)) return problem;
    return file.file.Begin(file.place.folder->handle, file.place.name) ? nullptr
                                                                       : kCannotOpenOutput;
}

const char* ExtractCommand::Load(File& member, ExtractedFile& file) const {
    const std::uint32_t size = file.record->entry.size;
    file.content.resize(size);
    file.isWritten = false;
    return member.Read(file.content.data(), size) == size ? nullptr : kCannotReadInput;
}

const char* ExtractCommand::Copy(File& member, ExtractedFile& file) const {
    const std::uint32_t size = file.record->entry.size;
    archive::Crc32 sum;
    for (std::uint32_t done = 0; done < size;) {
        const auto wanted =
            static_cast<std::uint32_t>(std::min<std::size_t>(size - done, Buffer().size()));
        const std::uint32_t got = member.Read(Buffer().data(), wanted);
        const std::size_t put = file.file.Write(Buffer().first(got));
        done += static_cast<std::uint32_t>(put);
        sum.Update(Buffer().first(put));
        ShowCopied(done, size);
        if (put < got) return kCannotWriteOutput;
        if (got < wanted) return kCannotReadInput;
    }
    file.isWritten = true;
    CheckSum(file, sum.Value());
    return nullptr;
}

const char* ExtractCommand::Place(ExtractedFile& file) const {
    if (!file.isWritten) {
        if (file.file.Write(file.content) < file.content.size()) return kCannotWriteOutput;
        archive::Crc32 sum;
        sum.Update(file.content);
        CheckSum(file, sum.Value());
    }
    // What exists is examined only when it is in the way: mostly nothing is.
    if (file.file.Publish(false)) return nullptr;
    if (const char* problem = destination_.CheckExisting(file.place)) return problem;
    return file.file.Publish(true) ? nullptr : kCannotOpenOutput;
}

void ExtractCommand::CheckSum(ExtractedFile& file, std::uint32_t sum) {
    // A check sum of 0 means that none was recorded.
    const std::uint32_t recorded = file.record->entry.crc;
    if (recorded != 0 && sum != recorded) Warn(file, " is damaged: its check sum does not match");
}

void ExtractCommand::Warn(ExtractedFile& file, const char* what) {
    file.warnings.push_back(file.record->Path().c_str() + std::string(what));
}

void ExtractCommand::ShowCopied(std::uint32_t bytes, std::uint32_t size) const {
    if (!Line().verbose) return;
    std::printf("\r%5uk %3.0f%%", bytes >> 10, bytes * 100.0 / size);
    FileProgress::ShowNow();
}

void ExtractCommand::Report(const ExtractedFile& file) {
    std::fputs(file.line.c_str(), stdout);
    for (const std::string& warning : file.warnings) Reporter().ReportProblem(warning);
    if (!file.problem.empty()) PrintError(file.problem.c_str(), "");
    Progress().FinishFile();
}

}  // namespace Vorn
