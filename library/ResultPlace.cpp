#include "library/ResultPlace.h"

#include <string>

#include "library/Translate.h"
#include "platform/Directories.h"
#include "platform/Error.h"
#include "platform/FolderHandle.h"
#include "platform/SystemInfo.h"
#include "vaconverter/error.h"

namespace va {
namespace {

[[noreturn]] void Refuse(const std::filesystem::path& result, const std::string& reason) {
    throw Error(ErrorCode::Refused, SystemPath(result) + reason, result);
}

bool LiesBelow(const std::filesystem::path& result, const std::filesystem::path& folder) {
    // Real paths, since a link can lead into the folder.
    const std::string inside = platform::RealPath(SystemPath(folder).c_str());
    const std::string parent = SystemPath(result.parent_path());
    const std::string place = platform::RealPath(parent.empty() ? "." : parent.c_str());
    if (inside.empty() || !place.starts_with(inside)) return false;
    // "/data2" begins like "/data" and is not below it; "/" ends in its separator.
    return place.size() == inside.size() || inside.back() == '/' || place[inside.size()] == '/';
}

void JudgeFolder(const std::filesystem::path& result) {
    const platform::FilePlace place = platform::PlaceOf(SystemPath(result));
    platform::FolderHandle folder;
    if (!folder.Open(place.folder.c_str())) {
        throw Error(ErrorCode::NotFound,
                    SystemPath(result.parent_path()) + ": there is no such folder", result);
    }
    if (folder.CanTake(place.name)) return;
    const platform::Error error = platform::LastError();
    throw Error(
        error.kind == platform::ErrorKind::NoSpace ? ErrorCode::DiskFull : ErrorCode::Refused,
        SystemPath(result) + ": cannot create a file in its folder: " + error.Message(), result);
}

}  // namespace

bool JudgeResultPlace(const std::filesystem::path& result, bool replace,
                      const std::vector<std::filesystem::path>& inputs) {
    const std::string path = SystemPath(result);
    for (const std::filesystem::path& input : inputs) {
        if (platform::IsSameFile(path.c_str(), SystemPath(input).c_str())) {
            Refuse(result, " is one of the inputs; name another file");
        }
        if (LiesBelow(result, input)) {
            Refuse(result, " lies below the input folder " + SystemPath(input) +
                               " and would become part of it; name a file elsewhere");
        }
    }
    JudgeFolder(result);
    const platform::EntryKind kind = platform::GetEntryKind(path.c_str());
    if (kind == platform::EntryKind::None) return false;
    if (kind != platform::EntryKind::File && kind != platform::EntryKind::Link) {
        Refuse(result, ": a folder or device has this name; name a file");
    }
    if (!replace) Refuse(result, " exists; -f replaces it");
    platform::FileStatus status;
    if (kind == platform::EntryKind::File && platform::GetStatus(path.c_str(), status) &&
        (status.attributes & platform::kAttributeReadOnly) != 0) {
        Refuse(result, " is read-only and stays as it is; make it writable to replace it");
    }
    return kind == platform::EntryKind::Link;
}

void JudgeSpace(const std::filesystem::path& result, std::uint64_t bytes) {
    const std::string folder = platform::PlaceOf(SystemPath(result)).folder;
    JudgeSpace(folder, result, bytes);
}

void JudgeSpace(const std::filesystem::path& folder, const std::filesystem::path& result,
                std::uint64_t bytes) {
    const auto free = platform::FreeSpace(folder.empty() ? "." : SystemPath(folder).c_str());
    if (!free || *free >= bytes) return;
    throw Error(ErrorCode::DiskFull,
                SystemPath(result) + ": it needs " + std::to_string(bytes) +
                    " bytes, and the disk has " + std::to_string(*free) +
                    " free; make room, or name another disk",
                result);
}

}  // namespace va
