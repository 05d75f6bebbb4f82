#include "tools/archive/Destination.h"

#include <algorithm>

#include "kernel/Paths.h"
#include "platform/Directories.h"

namespace Vorn {
namespace {

constexpr const char* kLeavesFolder = "Destination leaves the folder";
constexpr const char* kCannotWrite = "Cannot open output file";

[[nodiscard]] bool IsFolder(const char* path) {
    platform::FileStatus status;
    return platform::GetStatus(path, status) && status.IsDirectory();
}

// Makes the folder and those above it that are missing.
[[nodiscard]] bool MakeFolders(const std::string& path) {
    if (IsFolder(path.c_str())) return true;
    const std::size_t above = path.rfind('/');
    if (above != std::string::npos && above > 0 && !MakeFolders(path.substr(0, above)))
        return false;
    return platform::MakeDirectory(path.c_str()) || IsFolder(path.c_str());
}

}  // namespace

Destination::Folded::Folded(std::string_view path)
    : fromRoot(!path.empty() && IsSeparator(path.front())) {
    while (!path.empty()) {
        const std::size_t length = std::min(path.find_first_of("/\\"), path.size());
        const std::string_view name = path.substr(0, length);
        path.remove_prefix(std::min(length + 1, path.size()));
        if (name.empty() || name == ".") continue;
        if (name == ".." && !components.empty() && components.back() != "..") {
            components.pop_back();
        } else {
            components.emplace_back(name);
        }
    }
}

std::string Destination::Folded::Text(std::size_t count) const {
    std::string text = fromRoot ? "/" : "";
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0) text += '/';
        text += components[i];
    }
    return text.empty() ? "." : text;
}

bool Destination::Folded::IsBelow(const Folded& folder) const {
    const std::size_t shared = folder.components.size();
    if (fromRoot != folder.fromRoot || components.size() <= shared ||
        !std::equal(folder.components.begin(), folder.components.end(), components.begin())) {
        return false;
    }
    return std::none_of(components.begin() + static_cast<std::ptrdiff_t>(shared), components.end(),
                        [](const std::string& name) {
                            return name == ".." || name.find(':') != std::string::npos;
                        });
}

Destination::Destination(const std::vector<std::string>& namedFolders, std::string source)
    : named_(namedFolders.begin(), namedFolders.end()), source_(std::move(source)) {}

const Destination::Folded* Destination::NamedAbove(const Folded& path) const {
    const auto above =
        std::ranges::find_if(named_, [&](const Folded& folder) { return path.IsBelow(folder); });
    return above == named_.end() ? nullptr : &*above;
}

const char* Destination::Prepare(std::string_view path, std::string& prepared) {
    const std::string_view name = path.substr(path.find_last_of("/\\") + 1);
    const Folded folded(path);
    const Folded* above = NamedAbove(folded);
    if (above == nullptr || name.empty() || name == "." || name == "..") return kLeavesFolder;

    const std::size_t length = folded.components.size();
    prepared = folded.Text(length);
    if (entered_.contains(folded.Text(length - 1))) return nullptr;
    const std::size_t start = above->components.size();
    const std::string named = above->Text(start);
    for (std::size_t count = start; count < length; ++count) {
        if (const char* problem = EnterFolder(named, folded.Text(count))) return problem;
    }
    return nullptr;
}

const char* Destination::CheckExisting(const std::string& prepared) const {
    using platform::EntryKind;
    const Folded* above = NamedAbove(Folded(prepared));
    const EntryKind kind = platform::GetEntryKind(prepared.c_str());
    if (kind == EntryKind::Directory || kind == EntryKind::Other) return kCannotWrite;
    const bool link = kind == EntryKind::Link;
    if (above == nullptr || (link && LeadsOut(above->Text(above->components.size()), prepared))) {
        return kLeavesFolder;
    }
    return platform::IsSameFile(prepared.c_str(), source_.c_str())
               ? "Destination is the archive itself"
               : nullptr;
}

// The folders above are entered already.
const char* Destination::EnterFolder(const std::string& named, const std::string& folder) {
    if (entered_.contains(folder)) return nullptr;
    if (folder == named) {
        if (!MakeFolders(folder)) return kCannotWrite;
    } else if (platform::GetEntryKind(folder.c_str()) == platform::EntryKind::Link) {
        if (LeadsOut(named, folder)) return kLeavesFolder;
    } else if (!platform::MakeDirectory(folder.c_str()) && !IsFolder(folder.c_str())) {
        return kCannotWrite;
    }
    entered_.insert(folder);
    return nullptr;
}

bool Destination::LeadsOut(const std::string& named, const std::string& link) const {
    std::string home = platform::RealPath(named.c_str());
    const std::string target = platform::RealPath(link.c_str());
    if (!home.ends_with('/')) home += '/';
    return target.empty() || !(target + '/').starts_with(home);
}

}  // namespace Vorn
