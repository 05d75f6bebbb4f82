// Finding the files that the path arguments name.
#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "KernelStandard/FileFind.h"
#include "kernel/Exceptions.h"
#include "kernel/Paths.h"
#include "tools/archive/SplitQuoted.h"
#include "tools/archive/TargetMount.h"
#include "tools/archive/Tool.h"

namespace Vorn {
namespace {

const InternedString searchMount = Intern(kTargetMountName);

constexpr const char* kNoFolder = ".\\";

[[nodiscard]] String FolderText(std::string_view folder) {
    return folder.empty() ? String(kNoFolder) : String(std::string(folder).c_str());
}

// What stands behind `base` in `folder`, component by component.
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
    // A folder without a name stands between two separators.
    if (name.empty() || (!child.empty() && !IsSeparator(child.back()))) child += '/';
    return child.append(name);
}

[[nodiscard]] bool HasWildcards(std::string_view text) {
    return text.find_first_of("*?") != std::string_view::npos;
}

}  // namespace

void Tool::BuildFileList(ToolCommand& command) {
    command.files.clear();
    for (const String& path : command.paths) SearchPath(command, path);
}

void Tool::SearchPath(ToolCommand& command, const String& path) {
    const std::size_t before = command.files.size();
    const std::string wildcards = FileNamePart(path.Text());
    const std::string folder(path.View().substr(0, path.Length() - wildcards.size()));
    SearchFiles(command, folder, wildcards, folder);
    if (command.files.size() == before && !HasWildcards(wildcards)) {
        ReportProblem(std::string("there is no file ") + path.Text());
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
    } else if (command.searchTarget) {  // on disk every folder has the two
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
    PathBuffer pattern{std::string_view(folder)};
    AppendPathComponent(pattern, "*");
    const bool excluded = MatchesAny(command.excludePaths, folder);
    const auto isMeant = [&](std::string_view name) {
        return !excluded && MatchWildcards(name, wildcards) &&
               !MatchesAny(command.excludeNames, name);
    };
    // A single name that is given means the file of just that name.
    const bool isList = wildcards.find_first_of("*?;") != std::string::npos;
    std::optional<String> prefix;
    File::Find find;
    bool found =
        command.searchTarget ? find.Open(pattern.c_str(), searchMount) : find.Open(pattern.c_str());
    // A folder on disk has at least itself to show, and one of an archive what it was found by.
    if (!found && (!command.searchTarget || folder != base)) {
        ReportProblem("cannot read the folder " + folder);
    }
    for (; found; found = find.Next()) {
        const FindEntry& entry = find.Entry();
        const std::string_view name = entry.Name();
        if ((entry.attributes & kEntryDirectory) != 0) {
            if (command.recursive) SearchChild(command, ChildFolder(folder, name), wildcards, base);
        } else if (isMeant(name)) {
            if (!prefix) prefix = DestinationPrefix(command, folder, base);
            command.files.push_back({entry, FolderText(folder), *prefix});
        }
    }
    for (const FindEntry& entry : find.PassedOver()) {
        const std::string_view name = entry.Name();
        const bool isFolder = (entry.attributes & kEntryDirectory) != 0;
        if (isFolder ? command.recursive : isMeant(name) && (isList || wildcards == name)) {
            ReportProblem("left out " + ChildFolder(folder, name) +
                          ", whose name differs from another in letter case only");
        }
    }
}

}  // namespace Vorn
