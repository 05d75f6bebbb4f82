#include "tools/archive/ExtractCommand.h"

#include <algorithm>
#include <cstdio>

#include "archive/Crc32.h"
#include "kernel/Paths.h"

namespace Vorn {
namespace {

constexpr const char* kCannotOpenOutput = "Cannot open output file";

const InternedString toolMount = Intern(kTargetMountName);

[[nodiscard]] PathBuffer WithoutExtension(const String& prefix) {
    PathBuffer path(prefix.View());
    ReplaceExtension(path, nullptr);
    return path;
}

}  // namespace

ExtractCommand::ExtractCommand(const Context& context, std::optional<String> prefix)
    : ArchiveCommand(context),
      prefix_(std::move(prefix)),
      destination_(NamedFolders(), Line().target.Text()) {}

// -p is part of a destination twice; with ".." in it the two may be different folders.
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
    Attempt("", [&] { return Extract(record); });
    Progress().FinishFile();
}

const char* ExtractCommand::Extract(const ToolFileRecord& record) {
    const archive::FindEntry& entry = record.entry;
    const PathBuffer path = PathOnDisk(record);
    const bool verbose = Line().verbose;
    std::printf("%5uk %3.0f%%/%5uk .. %s", verbose ? 0 : entry.size >> 10, verbose ? 0.0 : 100.0,
                entry.size >> 10, path.c_str());
    // Plain content may begin like a compressed stream.
    const bool plain =
        (entry.attributes & archive::kMemberCompressed) == 0 && entry.storedSize == entry.size;
    File member;
    if (member.Open(toolMount, record.Path().c_str(), plain ? kReadPlain : kReadDetect) != RES_OK) {
        return "Cannot open input file";
    }
    std::string prepared;
    if (const char* problem = destination_.Prepare(path.View(), prepared)) return problem;
    return Write(member, record, prepared);
}

const char* ExtractCommand::Write(File& member, const ToolFileRecord& record,
                                  const std::string& to) {
    OutputFile file;
    if (!file.Open(to)) return kCannotOpenOutput;
    const PathBuffer path = record.Path();
    if (const char* problem = Copy(member, record.entry, file, path.c_str())) return problem;
    // Only where something is must it be examined before it is replaced.
    if (file.Place()) return nullptr;
    if (const char* problem = destination_.CheckExisting(to)) return problem;
    return file.Replace() ? nullptr : kCannotOpenOutput;
}

const char* ExtractCommand::Copy(File& member, const archive::FindEntry& entry, OutputFile& file,
                                 const char* memberPath) {
    if (member.Size() != entry.size) {
        Reporter().ReportProblem(std::string("not the size that is listed: ") + memberPath);
    }
    archive::Crc32 sum;
    for (std::uint32_t done = 0; done < entry.size;) {
        const auto wanted =
            static_cast<std::uint32_t>(std::min<std::size_t>(entry.size - done, Buffer().size()));
        const std::uint32_t got = member.Read(Buffer().data(), wanted);
        const std::uint32_t put = file.Write(Buffer().data(), got);
        done += put;
        sum.Update(Buffer().first(put));
        if (Line().verbose) {
            std::printf("\r%5uk %3.0f%%", done >> 10, done * 100.0 / entry.size);
            FileProgress::ShowNow();
        }
        if (put < got) return "Cannot write output file";
        if (got < wanted) return "Cannot read all of the input file";
    }
    // A check sum of 0 means that none was recorded.
    if (entry.crc != 0 && sum.Value() != entry.crc) {
        Reporter().ReportProblem(std::string("damaged, its check sum is another one: ") +
                                 memberPath);
    }
    return nullptr;
}

}  // namespace Vorn
