#include "tools/demo/Archives.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iostream>
#include <set>
#include <span>
#include <stdexcept>

#include "KernelStandard/File.h"
#include "KernelStandard/FileFind.h"
#include "KernelStandard/FileSubArchive.h"
#include "KernelStandard/FileSubstList.h"
#include "platform/Directories.h"
#include "platform/Files.h"
#include "tools/demo/FolderFiles.h"

namespace demo {
namespace {

using Piece = std::array<std::byte, 65536>;

// Like the converter: what fits in one KiB is not worth compressing.
constexpr std::uint64_t kLargestPlainMember = 1024;

// An archive mounted under a name of its own; unmounting one that is written completes it.
class Mount {
public:
    Mount(const std::string& archive, bool writable) {
        Vorn::Subst(name_, archive.c_str(), writable);
    }
    ~Mount() { Vorn::Subst(name_, nullptr); }
    Mount(const Mount&) = delete;
    Mount& operator=(const Mount&) = delete;

    // Writes the index; unmounting alone would not tell of a failure.
    [[nodiscard]] bool Complete() { return Archive().Complete(); }

    // Whether there is such an archive.
    [[nodiscard]] bool IsAvailable() { return Archive().IsAvailable(); }

    [[nodiscard]] const Vorn::InternedString& Name() const { return name_; }

private:
    [[nodiscard]] Vorn::FileSubArchive& Archive() {
        const Vorn::SubstEntry* entry = Vorn::FileSubstList::Instance().FindSubst(name_);
        return dynamic_cast<Vorn::FileSubArchive&>(*entry->backends.back());
    }

    const Vorn::InternedString name_ = Vorn::Intern("archive");
};

void OpenPlain(platform::FileHandle& handle, const std::string& path) {
    if (!handle.Open(path.c_str(), platform::Access::Read, platform::Creation::OpenExisting,
                     platform::Share::DenyNone)) {
        throw std::runtime_error("cannot read the file " + path);
    }
}

std::span<const std::byte> ReadPiece(platform::FileHandle& handle, Piece& piece) {
    const std::int64_t count = handle.Read(piece);
    if (count < 0) throw std::runtime_error("a file cannot be read to its end");
    return std::span(piece).first(static_cast<std::size_t>(count));
}

void PackFile(const Mount& mount, const std::string& folder, const FolderFile& from) {
    platform::FileHandle source;
    OpenPlain(source, folder + "/" + from.name);
    Vorn::File member;
    const Vorn::FileMode kind =
        from.size > kLargestPlainMember ? Vorn::kWriteCompressed : Vorn::kWritePlain;
    const Vorn::FileResult opened =
        member.Open(mount.Name(), from.name.c_str(), kind | Vorn::kCreateOrTruncate);
    if (opened != Vorn::RES_OK) {
        throw std::runtime_error("cannot add " + from.name + ": " +
                                 Vorn::DescribeFileResult(opened).text);
    }
    Piece piece;
    bool written = true;
    for (auto bytes = ReadPiece(source, piece); written && !bytes.empty();
         bytes = ReadPiece(source, piece)) {
        const auto count = static_cast<std::uint32_t>(bytes.size());
        written = member.Write(bytes.data(), count) == count;
    }
    if (!member.Close() || !written) throw std::runtime_error("cannot write " + from.name);
}

bool SameContent(const Mount& mount, const std::string& folder, const FolderFile& expected) {
    platform::FileHandle plain;
    OpenPlain(plain, folder + "/" + expected.name);
    Vorn::File member;
    if (member.Open(mount.Name(), expected.name.c_str(), Vorn::kReadDetect) != Vorn::RES_OK) {
        return false;
    }
    Piece piece;
    Piece stored;
    for (auto bytes = ReadPiece(plain, piece); !bytes.empty(); bytes = ReadPiece(plain, piece)) {
        const auto count = static_cast<std::uint32_t>(bytes.size());
        if (member.Read(stored.data(), count) != count) return false;
        if (!std::ranges::equal(bytes, std::span(stored).first(count))) return false;
    }
    return member.Read(stored.data(), 1) == 0;
}

void VisitMembers(const Mount& mount, const std::string& folder,
                  const std::function<void(const std::string&)>& visit) {
    Vorn::File::Find find;
    const std::string pattern = folder + "*";
    for (bool found = find.Open(pattern.c_str(), mount.Name()); found; found = find.Next()) {
        const std::string name = folder + std::string(find.Entry().Name());
        if ((find.Entry().attributes & Vorn::kEntryDirectory) != 0) {
            VisitMembers(mount, name + "/", visit);
        } else {
            visit(name);
        }
    }
}

// The names that only the archive holds.
std::size_t ReportExtraMembers(const Mount& mount, const FolderFiles& expected) {
    std::set<std::string> known;
    for (const FolderFile& file : expected.files) known.insert(FoldedName(file.name));
    std::size_t extra = 0;
    VisitMembers(mount, "", [&](const std::string& name) {
        if (known.contains(FoldedName(name))) return;
        ++extra;
        std::cout << "only in the archive: " << name << '\n';
    });
    return extra;
}

std::uint64_t PackFiles(const FolderFiles& content, const std::string& folder,
                        const std::string& archive) {
    Mount mount(archive, true);
    std::uint64_t bytes = 0;
    for (const FolderFile& file : content.files) {
        PackFile(mount, folder, file);
        bytes += file.size;
    }
    if (!mount.Complete()) throw std::runtime_error("cannot write the index of " + archive);
    return bytes;
}

std::string LeftOut(const FolderFiles& content) {
    std::string text;
    const auto note = [&text](std::size_t count, const char* what) {
        if (count == 0) return;
        text += text.empty() ? "; left out: " : ", ";
        text += what + std::to_string(count);
    };
    note(content.emptyFiles, "empty files ");
    note(content.links, "links ");
    note(content.unfit.size(), "unfit names ");
    return text;
}

}  // namespace

void PackFolder(const std::string& folder, const std::string& archive) {
    if (platform::Exists(archive.c_str())) throw std::runtime_error(archive + " already exists");
    const FolderFiles content = ListFolder(folder);
    std::uint64_t bytes = 0;
    try {
        bytes = PackFiles(content, folder, archive);
    } catch (...) {
        (void)platform::RemoveFile(archive.c_str());
        throw;
    }
    std::cout << content.files.size() << " files, " << bytes << " bytes" << LeftOut(content)
              << '\n';
    for (const std::string& line : content.unfit) std::cerr << "left out " << line << '\n';
}

bool CompareWithFolder(const std::string& archive, const std::string& folder) {
    const FolderFiles expected = ListFolder(folder);
    Mount mount(archive, false);
    if (!mount.IsAvailable()) throw std::runtime_error("there is no archive " + archive);
    std::size_t differences = ReportExtraMembers(mount, expected);
    for (const FolderFile& file : expected.files) {
        if (SameContent(mount, folder, file)) continue;
        ++differences;
        std::cout << "missing or different: " << file.name << '\n';
    }
    if (differences == 0) {
        std::cout << "all " << expected.files.size() << " members equal the folder's files\n";
    } else {
        std::cout << differences << " differences\n";
    }
    return differences == 0;
}

}  // namespace demo
