// Finds the files that the path arguments name.
#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "KernelStandard/FileFind.h"
#include "kernel/Exceptions.h"
#include "kernel/Paths.h"
#include "platform/Directories.h"
#include "tools/archive/SplitQuoted.h"
#include "tools/archive/TargetMount.h"
#include "tools/archive/Tool.h"

namespace Vorn {
namespace {

using namespace std::string_literals;

constexpr const char* kNoFolder = ".\\";

[[nodiscard]] String FolderText(std::string_view folder) {
    return folder.empty() ? String(kNoFolder) : String(std::string(folder).c_str());
}

// Returns the components of `folder` after those that it shares with `base`.
[[nodiscard]] std::vector<String> FoldersBelow(const std::string& folder, const std::string& base) {
    std::vector<String> below;
    std::vector<String> shared;
    SplitQuoted(folder, "\\/", '"', below);
    SplitQuoted(base, "\\/", '"', shared);
    const auto sameText = [](const String& a, const String& b) { return a.Compare(b) == 1; };
    const auto rest = std::ranges::mismatch(below, shared, sameText).in1;
    return {rest, below.end()};
}

[[nodiscard]] String DestinationPrefix(const ToolCommand& command, const std::string& folder,
                                       const std::string& base) {
    if (!command.HasSwitch('p')) return FolderText(command.keepPaths ? folder : base);
    PathBuffer prefix{std::string_view(base)};
    AppendPathComponent(prefix, command.SwitchValue('p'));
    if (command.keepPaths) {
        for (const String& component : FoldersBelow(folder, base)) {
            AppendPathComponent(prefix, component.View());
        }
    }
    return FolderText(prefix.View());
}

[[nodiscard]] std::string ChildFolder(const std::string& folder, std::string_view name) {
    std::string child = folder;
    // A folder with an empty name is written as two separators in a row.
    if (name.empty() || (!child.empty() && !IsSeparator(child.back()))) child += '/';
    return child.append(name);
}

[[nodiscard]] bool HasWildcards(std::string_view text) {
    return text.find_first_of("*?") != std::string_view::npos;
}

[[nodiscard]] bool IsFolder(const FindEntry& entry) {
    return (entry.attributes & platform::kAttributeDirectory) != 0;
}

[[nodiscard]] bool IsArchiveFolder(const std::string& path) {
    File::Find find;
    return find.Open(ChildFolder(path, "*").c_str(), targetMount);
}

[[nodiscard]] bool IsFolderOnDisk(const std::string& path) {
    platform::FileStatus status;
    return platform::GetStatus(path.c_str(), status) && status.IsDirectory();
}

}  // namespace

// A folder of the archive, or on disk.
struct Tool::Listing {
    std::string folder;
    bool inArchive;
    std::vector<FindEntry> entries;     // in the order of the search
    std::vector<FindEntry> passedOver;  // that the search skipped
};

// Decides which entries of a folder a command wants: files to take, folders to search.
class Tool::Wanted {
public:
    Wanted(const ToolCommand& command, std::string_view folder, const std::string& wildcards)
        : command_(command),
          wildcards_(wildcards),
          excluded_(MatchesAny(command.excludePaths, folder)) {}

    [[nodiscard]] bool operator()(std::string_view name, bool isFolder) const {
        if (isFolder) return command_.recursive;
        return !excluded_ && MatchWildcards(name, wildcards_) &&
               !MatchesAny(command_.excludeNames, name);
    }
    // The same, but a single name means only the file of exactly that name, letter case included.
    [[nodiscard]] bool Exactly(std::string_view name, bool isFolder) const {
        const bool isList = wildcards_.find_first_of("*?;") != std::string::npos;
        return (*this)(name, isFolder) && (isFolder || isList || wildcards_ == name);
    }

private:
    const ToolCommand& command_;
    const std::string& wildcards_;
    const bool excluded_;
};

void Tool::BuildFileList(ToolCommand& command) {
    command.files.clear();
    for (const String& path : command.paths) SearchOperand(command, path);
    listing_.reset();
}

void Tool::SearchOperand(ToolCommand& command, const String& path) {
    const std::size_t before = command.files.size();
    const std::string wildcards = FileNamePart(path.Text());
    const std::string folder(path.View().substr(0, path.Length() - wildcards.size()));
    SearchFiles(command, folder, wildcards, folder);
    if (command.files.size() != before || HasWildcards(wildcards)) return;
    if (command.searchTarget ? !command.target.IsNull() && IsArchiveFolder(path.Text())
                             : IsFolderOnDisk(path.Text())) {
        ReportProblem(path.Text() + " is a folder; its files are "s +
                      ChildFolder(path.Text(), "*"));
    } else {
        ReportProblem("there is no file "s + path.Text());
    }
}

void Tool::SearchFiles(ToolCommand& command, const std::string& folder,
                       const std::string& wildcards, const std::string& base) {
    if (!EnterFolder(command, folder)) return;
    try {
        SearchBelow(command, folder, wildcards, base);
    } catch (const FileEx& exception) {
        ReportProblem(exception.GetReason());
    }
    if (!command.searchTarget) searchedFolders_.pop_back();
}

void Tool::SearchChild(ToolCommand& command, const std::string& folder,
                       const std::string& wildcards, const std::string& base) {
    const std::string_view name = FileNamePart(folder.c_str());
    if (name != "." && name != "..") {
        SearchFiles(command, folder, wildcards, base);
    } else if (command.searchTarget) {  // on disk, every folder has these two
        ReportProblem("cannot read the folder " + folder);
    }
}

bool Tool::EnterFolder(const ToolCommand& command, const std::string& folder) {
    if (command.searchTarget) return true;
    platform::FileIdentity identity;
    if (!platform::GetIdentity(folder.empty() ? "." : folder.c_str(), identity)) {
        ReportProblem("there is no folder " + folder);
        return false;
    }
    if (std::ranges::find(searchedFolders_, identity) != searchedFolders_.end()) return false;
    searchedFolders_.push_back(identity);
    return true;
}

void Tool::SearchBelow(ToolCommand& command, const std::string& folder,
                       const std::string& wildcards, const std::string& base) {
    const std::shared_ptr<const Listing> listing = List(command, folder);
    // A folder on disk contains at least itself, and one in an archive whatever it was found by.
    if (listing->entries.empty() && (!command.searchTarget || folder != base)) {
        ReportProblem("cannot read the folder " + folder);
    }
    const Wanted wanted(command, folder, wildcards);
    std::optional<String> prefix;
    for (const FindEntry& entry : listing->entries) {
        const std::string_view name = entry.Name();
        const bool isFolder = IsFolder(entry);
        if (!wanted(name, isFolder)) continue;
        if (isFolder) {
            SearchChild(command, ChildFolder(folder, name), wildcards, base);
        } else {
            if (!prefix) prefix = DestinationPrefix(command, folder, base);
            command.files.push_back({entry, FolderText(folder), *prefix});
        }
    }
    ReportPassedOver(wanted, *listing);
}

std::shared_ptr<const Tool::Listing> Tool::List(const ToolCommand& command,
                                                const std::string& folder) {
    if (listing_ && listing_->folder == folder) return listing_;
    const auto listing = std::make_shared<Listing>(Listing{folder, command.searchTarget, {}, {}});
    PathBuffer pattern{std::string_view(folder)};
    AppendPathComponent(pattern, "*");
    File::Find find;
    bool found =
        command.searchTarget ? find.Open(pattern.c_str(), targetMount) : find.Open(pattern.c_str());
    for (; found; found = find.Next()) listing->entries.push_back(find.Entry());
    listing->passedOver = find.PassedOver();
    return listing_ = listing;
}

// Reports only what the command wanted: the rest of the folder is none of its concern.
void Tool::ReportPassedOver(const Wanted& wanted, const Listing& listing) {
    for (const FindEntry& entry : listing.passedOver) {
        const std::string name(entry.Name());
        const std::string path = ChildFolder(listing.folder, name);
        const std::string_view lastPart = FileNamePart(name.c_str());
        const bool isFolder = IsFolder(entry);
        if (listing.inArchive) {
            if (!wanted(name, isFolder)) continue;
            ReportProblem(isFolder ? "skipped the folder " + path + ": a file has the same name"
                                   : "skipped " + path + ": a folder has the same name");
        } else if (wanted.Exactly(lastPart, isFolder)) {
            ReportProblem("skipped " + path +
                          (lastPart != name
                               ? ": its name contains ':' or '\\'"
                               : ": its name differs from another only in letter case"));
        }
    }
}

}  // namespace Vorn
