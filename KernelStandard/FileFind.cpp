#include "KernelStandard/FileFind.h"

#include <algorithm>
#include <string_view>

#include "KernelStandard/FileSubArchive.h"
#include "KernelStandard/FileSubPath.h"
#include "KernelStandard/FileSubstList.h"
#include "kernel/Exceptions.h"
#include "kernel/LetterCase.h"
#include "kernel/Paths.h"
#include "platform/Directories.h"

namespace Vorn {

namespace {

// Returns the folder to list: a pattern without a folder means the current one.
[[nodiscard]] std::string FolderPath(std::string_view folder) {
    return folder.empty() ? std::string(".") : std::string(folder);
}

[[nodiscard]] FindEntry EntryOf(const platform::DirectoryEntry& listed) {
    FindEntry entry;
    SetPath(entry.name, listed.name);
    entry.size = entry.storedSize =
        static_cast<std::uint32_t>(std::min(listed.status.size, kMaxFileSize));
    entry.creationTime = static_cast<std::uint32_t>(listed.status.creationTime);
    entry.accessTime = static_cast<std::uint32_t>(listed.status.accessTime);
    entry.writeTime = static_cast<std::uint32_t>(listed.status.writeTime);
    entry.attributes = listed.status.attributes;
    return entry;
}

// Returns one bit for folders and another for files.
[[nodiscard]] unsigned KindOf(const FindEntry& entry) {
    return (entry.attributes & platform::kAttributeDirectory) != 0 ? 2 : 1;
}

}  // namespace

bool File::Find::Open(const char* path) {
    Close();
    if (!SplitPattern(path)) return false;
    const MountPath target = SplitMountPath(directory_.c_str());
    const std::string_view rest(target.rest ? target.rest : "");
    // Backends take names without a leading separator.
    const std::string below(rest.substr(std::min(rest.find_first_not_of("/\\"), rest.size())));
    if (Enter(target.mount, below, {})) {
        SetPath(directory_, below);
    } else {
        SearchDirectory(FolderPath(directory_.View()));
    }
    return Next();
}

bool File::Find::Open(const char* path, const InternedString& substName) {
    Close();
    if (!SplitPattern(path)) return false;
    if (!Enter(substName, directory_.View(), {})) {
        // The text and the line number are fixed.
        throw FileEx("KernelStandard/FileFind", 62, "Open() Subst not found");
    }
    return Next();
}

bool File::Find::OpenOnDisk(const char* path) {
    Close();
    if (!SplitPattern(path)) return false;
    SearchDirectory(FolderPath(directory_.View()));
    return Next();
}

bool File::Find::SplitPattern(const char* path) {
    if (std::string_view(path).size() >= kMaxPath) return false;
    SetPath(directory_, path);
    pattern_ = FileNamePart(path);
    StripFileName(directory_, false);
    return directory_.View().find_first_of("*?") == std::string_view::npos;
}

bool File::Find::Enter(const InternedString& mount, std::string_view folder,
                       const FileSubs& through) {
    const auto backends = FileSubstList::Instance().Collect(mount);
    if (!backends) return false;
    mounted_ = true;
    // The list is searched from its end, so the most recent mount is pushed last. A backend that
    // led here is skipped: mounts that lead to each other would be searched indefinitely.
    for (auto backend = backends->rbegin(); backend != backends->rend(); ++backend) {
        if (std::ranges::find(through, *backend) != through.end()) continue;
        FileSubs way = through;
        way.push_back(*backend);
        places_.push_back(
            {.backend = *backend, .folder = std::string(folder), .through = std::move(way)});
    }
    return true;
}

bool File::Find::Next() {
    while (Advance()) {
        // An archive returns whole member names. The rest of the field must not show what was
        // there.
        const PathBuffer full(entry_.Name());
        entry_.name.fill('\0');
        SetPath(entry_.name, FileNamePart(full.c_str()));
        std::string lower(entry_.Name());
        std::ranges::transform(lower, lower.begin(), AsciiToLower);
        unsigned& kinds = seen_[std::move(lower)];
        const unsigned before = kinds;
        const unsigned kind = KindOf(entry_);
        kinds |= kind;
        if (before == 0) return true;
        // In a mount it is normal that a name comes again: a backend hides the names of those after
        // it, and an archive returns a folder once for each member below it.
        if (!mounted_ || (before & kind) == 0) passedOver_.push_back(entry_);
    }
    return false;
}

bool File::Find::Advance() {
    for (;;) {
        if (archive_) {
            if (archive_->FindNext(archivePattern_.c_str(), archiveSearch_, entry_, true, false)) {
                return true;
            }
        } else if (NextInDirectory()) {
            return true;
        }
        if (!NextBackend()) return false;
    }
}

bool File::Find::NextBackend() {
    EndEnumeration();
    while (!places_.empty()) {
        const Place place = std::move(places_.back());
        places_.pop_back();
        if (SearchPlace(place)) return true;
    }
    return false;
}

bool File::Find::SearchPlace(const Place& place) {
    if (place.backend->IsKind(kKindArchive)) {
        archive_ = std::static_pointer_cast<FileSubArchive>(place.backend);
        archiveSearch_ = archive_->BeginFind();
        archivePattern_ = place.folder + pattern_;
        return true;
    }
    if (!place.backend->IsKind(kKindDirectory)) return false;
    // A search whose mount is given separately may name a mount in its pattern as well. That name
    // is ignored.
    const std::string_view folder = place.folder;
    const std::size_t colon = folder.find(':');
    const std::string_view below =
        colon == std::string_view::npos ? folder : folder.substr(colon + 1);
    const std::string_view root = static_cast<const FileSubPath&>(*place.backend).Root();
    // JoinPath would throw; a folder whose path is too long has no file that could be opened.
    if (root.size() + below.size() >= kMaxPath) return false;
    PathBuffer path;
    JoinPath(root, below, path);
    const MountPath inner = SplitMountPath(path.c_str());
    if (inner.mount && Enter(inner.mount, inner.rest, place.through)) return false;
    SearchDirectory(path.c_str());
    return true;
}

void File::Find::SearchDirectory(const std::string& folder) {
    listing_.clear();
    nextListed_ = 0;
    const auto take = [this](const platform::DirectoryEntry& entry) {
        // Names of 260 bytes or more do not fit a PathBuffer; a name with a separator or ':' would
        // be parsed as another path.
        const std::string_view name = FileNamePart(entry.name.c_str());
        if (entry.name.size() >= kMaxPath || !MatchWildcards(name, pattern_)) return true;
        if (name == entry.name) {
            listing_.push_back(entry);
        } else {
            passedOver_.push_back(EntryOf(entry));
        }
        return true;
    };
    // A partial listing counts as none: the caller could not know what is missing.
    if (!platform::ListDirectory(folder.c_str(), take)) listing_.clear();
}

bool File::Find::NextInDirectory() {
    if (nextListed_ == listing_.size()) return false;
    entry_ = EntryOf(listing_[nextListed_++]);
    return true;
}

void File::Find::EndEnumeration() {
    if (archive_) archive_->EndFind(archiveSearch_);
    archive_.reset();
    listing_.clear();
    nextListed_ = 0;
}

void File::Find::GetPath(PathSpan out) const {
    PathBuffer path;
    JoinPath(directory_.View(), entry_.Name(), path);
    SetPath(out, path.View());
}

void File::Find::Close() {
    EndEnumeration();
    seen_.clear();
    places_.clear();
    mounted_ = false;
    passedOver_.clear();
    entry_ = FindEntry{};
}

}  // namespace Vorn
