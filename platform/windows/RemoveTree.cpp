#include <algorithm>
#include <string>
#include <vector>

#include "platform/Directories.h"
#include "platform/windows/FileStatus.h"
#include "platform/windows/Handles.h"
#include "platform/windows/WideText.h"

namespace platform {
namespace {

bool RemoveEntry(const std::wstring& path, EntryKind kind);

// Holds the folder open meanwhile, without the right of others to rename it: the system then moves
// neither it nor what is above it.
bool RemoveEntries(const std::wstring& folder) {
    const windows::Handle held(CreateFileW(
        folder.c_str(), FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
        OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (!held) return false;
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return false;
    do {
        names.emplace_back(found.cFileName);
    } while (FindNextFileW(search, &found));
    FindClose(search);
    return std::ranges::all_of(names, [&folder](const std::wstring& name) {
        if (name == L"." || name == L"..") return true;
        const std::wstring path = folder + L'\\' + name;
        return RemoveEntry(path, windows::KindOf(path));
    });
}

bool RemoveEntry(const std::wstring& path, EntryKind kind) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) return false;
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0) {
        SetFileAttributesW(path.c_str(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    }
    if (kind == EntryKind::Directory && !RemoveEntries(path)) return false;
    // A link to a folder is removed as a folder.
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? RemoveDirectoryW(path.c_str()) != 0
                                                        : DeleteFileW(path.c_str()) != 0;
}

}  // namespace

bool RemoveTree(const char* path) {
    std::wstring name = windows::ToSystemPath(path);
    while (name.size() > 1 && name.back() == L'\\') name.pop_back();
    if (name.empty()) return false;
    FileStatus status;
    const bool isTree = windows::QueryStatus(name, status) && status.IsDirectory();
    if (!isTree) return windows::Refuse(ERROR_DIRECTORY);
    return RemoveEntry(name, windows::KindOf(name));
}

}  // namespace platform
