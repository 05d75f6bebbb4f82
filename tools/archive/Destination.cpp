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

// A name that no path can hold below a folder: it would begin with a drive or a mount.
[[nodiscard]] bool HasPrefix(std::string_view name) {
    return name.find(':') != std::string_view::npos;
}

// Creates the folder and the missing ones above it.
[[nodiscard]] bool MakeFolders(const std::string& path) {
    if (IsFolder(path.c_str())) return true;
    const std::size_t above = path.rfind('/');
    if (above != std::string::npos && above > 0 && !MakeFolders(path.substr(0, above))) {
        return false;
    }
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

bool Destination::Folded::IsWithin(const Folded& folder) const {
    const std::size_t shared = folder.components.size();
    if (fromRoot != folder.fromRoot || components.size() < shared ||
        !std::equal(folder.components.begin(), folder.components.end(), components.begin())) {
        return false;
    }
    return std::none_of(components.begin() + static_cast<std::ptrdiff_t>(shared), components.end(),
                        [](const std::string& name) { return name == ".." || HasPrefix(name); });
}

Destination::Destination(const std::vector<std::string>& namedFolders, std::string source,
                         std::function<void(const std::string&)> beforeEntering)
    : named_(namedFolders.begin(), namedFolders.end()),
      source_(std::move(source)),
      beforeEntering_(std::move(beforeEntering)) {}

const char* Destination::Prepare(std::string_view path, Place& place) {
    const std::size_t nameAt = path.find_last_of("/\\") + 1;
    const std::string_view name = path.substr(nameAt);
    if (name.empty() || name == "." || name == ".." || HasPrefix(name)) return kLeavesFolder;
    const std::string_view folderText = path.substr(0, nameAt);
    if (!current_ || folderText != currentText_) {
        if (const char* problem = Enter(folderText)) return problem;
    }
    place.folder = current_;
    place.name = name;
    place.path = currentPrefix_;
    place.path += name;
    return nullptr;
}

const char* Destination::Enter(std::string_view folderText) {
    const Folded folder(folderText);
    const auto above =
        std::ranges::find_if(named_, [&](const Folded& named) { return folder.IsWithin(named); });
    if (above == named_.end()) return kLeavesFolder;
    const std::string named = above->Text();
    for (std::size_t count = above->components.size(); count <= folder.components.size(); ++count) {
        if (const char* problem = EnterLevel(named, folder.Text(count))) return problem;
    }
    auto entered = std::make_shared<Folder>();
    const std::string path = folder.Text();
    if (!entered->handle.Open(path.c_str())) return kCannotWrite;
    entered->named = named;
    current_ = std::move(entered);
    currentText_ = folderText;
    const bool isCurrentFolder = folder.components.empty() && !folder.fromRoot;
    currentPrefix_ = isCurrentFolder ? "" : path.ends_with('/') ? path : path + '/';
    return nullptr;
}

const char* Destination::CheckExisting(const Place& place) const {
    using platform::EntryKind;
    const char* path = place.path.c_str();
    platform::FileStatus status;
    switch (platform::GetEntryKind(path)) {
        case EntryKind::Directory:
        case EntryKind::Other:
            return kCannotWrite;
        case EntryKind::Link:
            if (LeadsOut(place.folder->named, place.path)) return kLeavesFolder;
            break;
        case EntryKind::File:
            // The folder's permissions alone would let it be replaced.
            if (!platform::GetStatus(path, status) ||
                (status.attributes & platform::kAttributeReadOnly) != 0) {
                return kCannotWrite;
            }
            break;
        case EntryKind::None:
            break;
    }
    return platform::IsSameFile(path, source_.c_str()) ? "Destination is the archive itself"
                                                       : nullptr;
}

// The folders above are entered already.
const char* Destination::EnterLevel(const std::string& named, const std::string& folder) {
    if (entered_.contains(folder)) return nullptr;
    beforeEntering_(folder);
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
