#include "platform/FolderHandle.h"

#include <array>

#include "platform/shared/HiddenName.h"
#include "platform/windows/ChangeLocks.h"
#include "platform/windows/FileStatus.h"
#include "platform/windows/FolderPath.h"
#include "platform/windows/Handles.h"
#include "platform/windows/WideText.h"

namespace platform {

using windows::Handle;
using windows::ToDescriptor;
using windows::ToHandle;

namespace {

// Without FILE_SHARE_DELETE: see FolderPath.h.
HANDLE OpenFolder(const std::wstring& path, bool follow) {
    constexpr DWORD kRights = FILE_TRAVERSE | FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES;
    const DWORD flags = FILE_FLAG_BACKUP_SEMANTICS | (follow ? 0 : FILE_FLAG_OPEN_REPARSE_POINT);
    const HANDLE folder = CreateFileW(path.c_str(), kRights, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      nullptr, OPEN_EXISTING, flags, nullptr);
    if (folder == INVALID_HANDLE_VALUE) return folder;
    FILE_ATTRIBUTE_TAG_INFO info{};
    const bool known =
        GetFileInformationByHandleEx(folder, FileAttributeTagInfo, &info, sizeof info) != 0;
    const bool isFolder = known && (info.FileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
                          !windows::IsLinkTag(info.FileAttributes, info.ReparseTag);
    if (isFolder) return folder;
    CloseHandle(folder);
    SetLastError(ERROR_DIRECTORY);
    return INVALID_HANDLE_VALUE;
}

}  // namespace

std::wstring windows::PathIn(int folder, const std::string& name) {
    if (name.find_first_of("/\\:") != std::string::npos) {
        SetLastError(ERROR_INVALID_NAME);
        return {};
    }
    std::array<wchar_t, 32768> path;
    const DWORD length = GetFinalPathNameByHandleW(ToHandle(folder), path.data(), path.size(), 0);
    if (length == 0 || length >= path.size()) return {};
    std::wstring whole(path.data(), length);
    if (whole.back() != L'\\') whole += L'\\';
    return whole + ToWide(name);
}

void FolderHandle::Close() noexcept {
    if (descriptor_ >= 0) CloseHandle(ToHandle(descriptor_));
    descriptor_ = -1;
}

bool FolderHandle::Open(const char* path) {
    Close();
    const std::wstring name = *path == '\0' ? L"." : windows::ToSystemPath(path);
    if (name.empty()) return false;
    descriptor_ = ToDescriptor(OpenFolder(name, true));
    return descriptor_ >= 0;
}

bool FolderHandle::OpenNearest(FilePlace& place) {
    while (!Open(place.folder.c_str())) {
        const DWORD error = GetLastError();
        if (error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND) return false;
        while (place.folder.ends_with('/') || place.folder.ends_with('\\')) {
            place.folder.pop_back();
        }
        if (place.folder.empty() || place.folder.ends_with(':')) {
            return windows::Refuse(ERROR_PATH_NOT_FOUND);
        }
        place = PlaceOf(place.folder);
    }
    return true;
}

bool FolderHandle::OpenIn(const FolderHandle& parent, const std::string& name, bool make) {
    const std::wstring path = windows::PathIn(parent.descriptor_, name);
    if (path.empty()) return false;
    HANDLE opened = OpenFolder(path, false);
    if (opened == INVALID_HANDLE_VALUE && GetLastError() == ERROR_FILE_NOT_FOUND && make) {
        // Another thread or process may be quicker to make it.
        if (!CreateDirectoryW(path.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS) {
            return false;
        }
        opened = OpenFolder(path, false);
    }
    if (opened == INVALID_HANDLE_VALUE) return false;
    Close();
    descriptor_ = ToDescriptor(opened);
    return true;
}

EntryKind FolderHandle::KindOf(const std::string& name) const {
    return windows::KindOf(windows::PathIn(descriptor_, name));
}

bool FolderHandle::CanTake(const std::string& name) const {
    const std::wstring path = windows::PathIn(descriptor_, name);
    if (path.empty()) return false;
    const Handle there(windows::OpenForQuery(path, false));
    if (!there && GetLastError() != ERROR_FILE_NOT_FOUND) return false;
    const std::wstring probe = windows::PathIn(descriptor_, HiddenName(name));
    return static_cast<bool>(
        Handle(CreateFileW(probe.c_str(), GENERIC_WRITE | DELETE, 0, nullptr, CREATE_NEW,
                           FILE_ATTRIBUTE_HIDDEN | FILE_FLAG_DELETE_ON_CLOSE, nullptr)));
}

std::vector<std::string> FolderHandle::RemoveAbandoned(
    const std::function<bool(std::string_view stem)>& wanted) const {
    std::vector<std::string> removed;
    WIN32_FIND_DATAW found{};
    const std::wstring folder = windows::PathIn(descriptor_, "");
    const HANDLE search = FindFirstFileW((folder + L"*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return removed;
    do {
        const std::string name = windows::ToText(found.cFileName).value_or("");
        const std::string_view stem = shared::StemOfHidden(name);
        if (stem.empty() || !wanted(stem) || KindOf(name) != EntryKind::File) continue;
        const Handle file(CreateFileW((folder + found.cFileName).c_str(), GENERIC_WRITE | DELETE,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT,
                                      nullptr));
        if (!file || !windows::TakeChangeLock(file.Get())) continue;
        FILE_DISPOSITION_INFO remove{TRUE};
        if (SetFileInformationByHandle(file.Get(), FileDispositionInfo, &remove, sizeof remove)) {
            removed.push_back(name);
        }
        windows::DropChangeLock(file.Get());
    } while (FindNextFileW(search, &found));
    FindClose(search);
    return removed;
}

}  // namespace platform
