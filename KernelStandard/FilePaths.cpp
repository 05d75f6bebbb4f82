// The operations of File on paths. Each asks the mount that the path names, and goes to the file
// system only if there is no such mount: the answer of a mount is final.
#include "KernelStandard/File.h"
#include "KernelStandard/FileSubArchive.h"
#include "KernelStandard/FileSubstList.h"
#include "kernel/Paths.h"
#include "platform/Directories.h"

namespace Vorn {

namespace {

// Returns the first value that is not 0: an archive's 0 means that it has none.
template <typename Value>
[[nodiscard]] std::uint32_t FirstArchiveValue(const InternedString& substName, Value value) {
    const auto backends = FileSubstList::Instance().Collect(substName);
    if (!backends) return 0;
    for (const auto& backend : *backends) {
        if (!backend->IsKind(kKindArchive)) continue;
        const auto header = static_cast<const FileSubArchive&>(*backend).Header();
        if (const std::uint32_t found = value(header); found != 0) return found;
    }
    return 0;
}

}  // namespace

FileResult File::Exists(const char* path) {
    const MountPath target = SplitMountPath(path);
    const auto exists = FileSubstList::Instance().Exists(target.mount, target.rest);
    return (exists ? *exists : platform::Exists(path)) ? RES_OK : RES_FILENOTFOUND;
}

FileResult File::Exists(const InternedString& substName, const char* path) {
    const char* rest = IsSeparator(*path) ? path + 1 : path;
    const auto exists = FileSubstList::Instance().Exists(substName, rest);
    return (exists ? *exists : platform::Exists(path)) ? RES_OK : RES_FILENOTFOUND;
}

bool File::Delete(const char* path) {
    const MountPath target = SplitMountPath(path);
    const auto deleted = FileSubstList::Instance().Delete(target.mount, target.rest);
    return deleted ? *deleted : platform::RemoveFile(path);
}

bool File::Rename(const char* from, const char* to) {
    FileSubstList& list = FileSubstList::Instance();
    const MountPath source = SplitMountPath(from);
    const MountPath destination = SplitMountPath(to);
    // The source's backend does the renaming: the target's mount only tells which part of `to` is
    // the name.
    const char* newName = list.IsMounted(destination.mount) ? destination.rest : to;
    const auto renamed = list.Rename(source.mount, source.rest, newName);
    return renamed ? *renamed : platform::Rename(from, to);
}

bool File::ChangeDirectory(const char* path) { return platform::ChangeDirectory(path); }

bool File::MakePath(const char* path) {
    if (std::string_view(path).size() >= kMaxPath) return false;
    const MountPath target = SplitMountPath(path);
    const auto made = FileSubstList::Instance().MakeDirectory(target.mount, target.rest);
    return made ? *made : platform::MakeDirectories(path);
}

bool File::DeleteDirectory(const char* path) {
    const MountPath target = SplitMountPath(path);
    const auto deleted = FileSubstList::Instance().DeleteDirectory(target.mount, target.rest);
    return deleted ? *deleted : platform::RemoveTree(path);
}

bool File::GetModifiedTime(const char* path, std::uint32_t& time) {
    const MountPath target = SplitMountPath(path);
    const auto served = FileSubstList::Instance().Stat(target.mount, time, target.rest);
    if (served) return *served;
    platform::FileStatus status;
    if (!platform::GetStatus(path, status)) return false;
    time = static_cast<std::uint32_t>(status.writeTime);
    return true;
}

std::uint32_t File::GetArchiveBuildVersion(const InternedString& substName) {
    return FirstArchiveValue(substName,
                             [](const archive::ArchiveHeader& h) { return h.buildVersion; });
}

std::uint32_t File::GetArchiveProductCode(const InternedString& substName) {
    return FirstArchiveValue(substName,
                             [](const archive::ArchiveHeader& h) { return h.productCode; });
}

}  // namespace Vorn
