#include "platform/windows/FileStatus.h"

#include "platform/windows/Handles.h"

namespace platform::windows {

std::int64_t ToSeconds(const FILETIME& time) {
    constexpr std::int64_t kTicksPerSecond = 10'000'000;
    constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;
    const auto ticks =
        static_cast<std::int64_t>(std::uint64_t{time.dwHighDateTime} << 32U | time.dwLowDateTime);
    return ticks / kTicksPerSecond - kSecondsFrom1601To1970;
}

FileStatus ToFileStatus(DWORD attributes, std::uint64_t size, const FILETIME& created,
                        const FILETIME& accessed, const FILETIME& written) {
    const bool directory = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    FileStatus status;
    status.size = directory ? 0 : size;
    status.creationTime = ToSeconds(created);
    status.accessTime = ToSeconds(accessed);
    status.writeTime = ToSeconds(written);
    unsigned bits = directory ? unsigned{kAttributeDirectory} : 0U;
    bits |= (attributes & FILE_ATTRIBUTE_READONLY) != 0 ? unsigned{kAttributeReadOnly} : 0U;
    status.attributes = static_cast<std::uint16_t>(bits);
    return status;
}

HANDLE OpenForQuery(const std::wstring& path, bool follow) {
    const DWORD flags = FILE_FLAG_BACKUP_SEMANTICS | (follow ? 0 : FILE_FLAG_OPEN_REPARSE_POINT);
    return path.empty() ? INVALID_HANDLE_VALUE
                        : CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, flags, nullptr);
}

bool QueryStatus(const std::wstring& path, FileStatus& status) {
    const Handle file(OpenForQuery(path, true));
    BY_HANDLE_FILE_INFORMATION found{};
    if (!file) return false;
    if (!GetFileInformationByHandle(file.Get(), &found)) {
        // A device has no such record.
        status = {};
        return GetFileType(file.Get()) == FILE_TYPE_CHAR;
    }
    status = ToFileStatus(found.dwFileAttributes,
                          std::uint64_t{found.nFileSizeHigh} << 32U | found.nFileSizeLow,
                          found.ftCreationTime, found.ftLastAccessTime, found.ftLastWriteTime);
    return true;
}

bool IsLinkTag(DWORD attributes, DWORD reparseTag) {
    return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           (reparseTag == IO_REPARSE_TAG_SYMLINK || reparseTag == IO_REPARSE_TAG_MOUNT_POINT);
}

EntryKind KindOf(const std::wstring& path) {
    const Handle file(OpenForQuery(path, false));
    if (!file) return EntryKind::None;
    FILE_ATTRIBUTE_TAG_INFO info{};
    if (!GetFileInformationByHandleEx(file.Get(), FileAttributeTagInfo, &info, sizeof info)) {
        BY_HANDLE_FILE_INFORMATION found{};
        if (!GetFileInformationByHandle(file.Get(), &found)) return EntryKind::Other;
        info.FileAttributes = found.dwFileAttributes;
    }
    if (IsLinkTag(info.FileAttributes, info.ReparseTag)) return EntryKind::Link;
    return (info.FileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? EntryKind::Directory
                                                                 : EntryKind::File;
}

}  // namespace platform::windows
