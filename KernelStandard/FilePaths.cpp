// The operations of File that work on paths: each goes to the substitution that the path names, or
// to the file system.
#include "KernelStandard/File.h"
#include "KernelStandard/FileSubArchive.h"
#include "KernelStandard/FileSubstList.h"
#include "kernel/Paths.h"
#include "platform/Directories.h"

namespace Vorn {

namespace {

// The substitution that serves a path, and the rest of the path for it.
struct Target {
    SubstEntry* entry = nullptr;
    const char* rest = nullptr;
};

[[nodiscard]] Target TargetOf(const char* path) {
    Target target;
    target.entry = FileSubstList::Instance().GetSubstOfPath(path, target.rest);
    return target;
}

template <typename Value>
[[nodiscard]] std::uint32_t FirstArchiveValue(const InternedString& substName, Value value) {
    FileSubstList& list = FileSubstList::Instance();
    SubstEntry* entry = list.FindSubst(substName);
    if (entry == nullptr) return 0;
    for (FileSub* backend : list.Collect(*entry)) {
        if (!backend->IsKind(kKindArchive)) continue;
        const auto& header = static_cast<const FileSubArchive*>(backend)->Header();
        if (const std::uint32_t found = value(header); found != 0) return found;
    }
    return 0;
}

}  // namespace

FileResult File::Exists(const char* path) {
    const Target target = TargetOf(path);
    const bool exists = target.entry != nullptr
                            ? FileSubstList::Instance().Exists(*target.entry, target.rest)
                            : platform::Exists(path);
    return exists ? RES_OK : RES_FILENOTFOUND;
}

FileResult File::Exists(const InternedString& substName, const char* path) {
    FileSubstList& list = FileSubstList::Instance();
    SubstEntry* entry = list.FindSubst(substName);
    if (entry == nullptr) return platform::Exists(path) ? RES_OK : RES_FILENOTFOUND;
    const char* rest = IsSeparator(*path) ? path + 1 : path;
    return list.Exists(*entry, rest) ? RES_OK : RES_FILENOTFOUND;
}

bool File::Delete(const char* path) {
    const Target target = TargetOf(path);
    return target.entry != nullptr ? FileSubstList::Instance().Delete(*target.entry, target.rest)
                                   : platform::RemoveFile(path);
}

bool File::Rename(const char* from, const char* to) {
    const Target source = TargetOf(from);
    if (source.entry == nullptr) return platform::Rename(from, to);
    const Target destination = TargetOf(to);
    return FileSubstList::Instance().Rename(*source.entry, source.rest,
                                            destination.entry ? destination.rest : to);
}

bool File::ChangeDirectory(const char* path) { return platform::ChangeDirectory(path); }

bool File::MakePath(const char* path) {
    if (std::string_view(path).size() >= kMaxPath) return false;
    const Target target = TargetOf(path);
    return target.entry != nullptr
               ? FileSubstList::Instance().MakeDirectory(*target.entry, target.rest)
               : platform::MakeDirectories(path);
}

bool File::DeleteDirectory(const char* path) {
    const Target target = TargetOf(path);
    if (target.entry == nullptr) return platform::RemoveTree(path);
    if (std::string_view(target.rest).size() >= kMaxPath) return false;
    PathBuffer real{std::string_view(target.rest)};
    return FileSubstList::Instance().GetWritablePath(*target.entry, real) &&
           DeleteDirectory(real.c_str());
}

bool File::GetModifiedTime(const char* path, std::uint32_t& time) {
    const Target target = TargetOf(path);
    if (target.entry != nullptr) {
        return FileSubstList::Instance().Stat(*target.entry, time, target.rest);
    }
    platform::FileStatus status;
    if (!platform::GetStatus(path, status)) return false;
    time = static_cast<std::uint32_t>(status.writeTime);
    return true;
}

std::uint32_t File::GetArchiveBuildVersion(const InternedString& substName) {
    return FirstArchiveValue(substName, [](const ArchiveHeader& h) { return h.buildVersion; });
}

std::uint32_t File::GetArchiveProductCode(const InternedString& substName) {
    return FirstArchiveValue(substName, [](const ArchiveHeader& h) { return h.productCode; });
}

}  // namespace Vorn
