// The system finds names in any letter case itself. Hidden names and folders that others hold open
// follow its own rules: a file that is open elsewhere may keep its name until that closes.
#include "platform/Directories.h"

#include <windows.h>
// Needs windows.h before it.
#include <sddl.h>

#include <algorithm>
#include <array>
#include <random>
#include <vector>

#include "platform/windows/FileStatus.h"
#include "platform/windows/Handles.h"
#include "platform/windows/WideText.h"

namespace platform {

using windows::FromSystemPath;
using windows::Handle;
using windows::OpenForQuery;
using windows::Refuse;
using windows::ToSystemPath;

namespace {

bool IsReadOnly(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
}

// Closes the search of a folder.
class Search {
public:
    explicit Search(const std::wstring& pattern)
        : handle_(FindFirstFileExW(pattern.c_str(), FindExInfoBasic, &found, FindExSearchNameMatch,
                                   nullptr, FIND_FIRST_EX_LARGE_FETCH)) {}
    ~Search() {
        if (IsOpen()) FindClose(handle_);
    }
    Search(const Search&) = delete;
    Search& operator=(const Search&) = delete;

    [[nodiscard]] bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
    [[nodiscard]] bool Next() { return FindNextFileW(handle_, &found) != 0; }

    WIN32_FIND_DATAW found{};

private:
    HANDLE handle_;
};

// Sets `entry` from the search; false for a name that is no correct text.
bool ToEntry(const std::wstring& folder, const WIN32_FIND_DATAW& found, DirectoryEntry& entry) {
    const auto name = windows::ToText(found.cFileName);
    if (!name) return Refuse(ERROR_NO_UNICODE_TRANSLATION);
    entry.name = *name;
    entry.isLink = windows::IsLinkTag(found.dwFileAttributes, found.dwReserved0);
    entry.status = windows::ToFileStatus(
        found.dwFileAttributes, std::uint64_t{found.nFileSizeHigh} << 32U | found.nFileSizeLow,
        found.ftCreationTime, found.ftLastAccessTime, found.ftLastWriteTime);
    FileStatus target;
    if (entry.isLink && windows::QueryStatus(folder + L'\\' + found.cFileName, target)) {
        entry.status = target;
    }
    entry.isRegular = !entry.status.IsDirectory();
    return true;
}

// The security of a folder for the user of this process alone; null if the system gives none.
class PrivateSecurity {
public:
    PrivateSecurity() {
        HANDLE token = nullptr;
        if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token)) return;
        const Handle owned(token);
        std::array<std::byte, 256> buffer{};
        DWORD size = 0;
        LPWSTR user = nullptr;
        if (!GetTokenInformation(token, TokenUser, buffer.data(), buffer.size(), &size) ||
            !ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(buffer.data())->User.Sid,
                                    &user)) {
            return;
        }
        // Protected from what the folder above grants; everything for the user, and inherited.
        const std::wstring rule = std::wstring(L"D:P(A;OICI;FA;;;") + user + L")";
        LocalFree(user);
        ConvertStringSecurityDescriptorToSecurityDescriptorW(
            rule.c_str(), SDDL_REVISION_1, &attributes_.lpSecurityDescriptor, nullptr);
    }
    ~PrivateSecurity() { LocalFree(attributes_.lpSecurityDescriptor); }
    PrivateSecurity(const PrivateSecurity&) = delete;
    PrivateSecurity& operator=(const PrivateSecurity&) = delete;

    [[nodiscard]] SECURITY_ATTRIBUTES* Get() {
        return attributes_.lpSecurityDescriptor ? &attributes_ : nullptr;
    }

private:
    SECURITY_ATTRIBUTES attributes_{sizeof attributes_, nullptr, FALSE};
};

}  // namespace

bool Exists(const char* path) {
    FileStatus status;
    return GetStatus(path, status);
}

bool GetStatus(const char* path, FileStatus& status) {
    return windows::QueryStatus(ToSystemPath(path), status);
}

EntryKind GetEntryKind(const char* path) { return windows::KindOf(ToSystemPath(path)); }

bool GetIdentity(const char* path, FileIdentity& identity) {
    const Handle file(OpenForQuery(ToSystemPath(path), true));
    BY_HANDLE_FILE_INFORMATION found{};
    if (!file || !GetFileInformationByHandle(file.Get(), &found)) return false;
    identity = {.device = found.dwVolumeSerialNumber,
                .number = std::uint64_t{found.nFileIndexHigh} << 32U | found.nFileIndexLow};
    return true;
}

bool IsSameFile(const char* a, const char* b) {
    FileIdentity first;
    FileIdentity second;
    return GetIdentity(a, first) && GetIdentity(b, second) && first == second;
}

std::string RealPath(const char* path) {
    const Handle file(OpenForQuery(ToSystemPath(path), true));
    if (!file) return {};
    std::array<wchar_t, 32768> name;
    const DWORD length = GetFinalPathNameByHandleW(file.Get(), name.data(), name.size(), 0);
    return FromSystemPath({name.data(), std::min<std::size_t>(length, name.size())});
}

bool RemoveFile(const char* path) {
    const std::wstring name = ToSystemPath(path);
    return !name.empty() && DeleteFileW(name.c_str()) != 0;
}

bool RenameOver(const char* from, const char* to) {
    const std::wstring oldName = ToSystemPath(from);
    const std::wstring newName = ToSystemPath(to);
    if (oldName.empty() || newName.empty()) return false;
    if (IsReadOnly(newName)) return Refuse(ERROR_ACCESS_DENIED);
    return MoveFileExW(oldName.c_str(), newName.c_str(), MOVEFILE_REPLACE_EXISTING) != 0;
}

bool Rename(const char* from, const char* to) {
    const std::wstring oldName = ToSystemPath(from);
    const std::wstring newName = ToSystemPath(to);
    return !oldName.empty() && !newName.empty() &&
           MoveFileExW(oldName.c_str(), newName.c_str(), 0) != 0;
}

bool MakeDirectory(const char* path) {
    const std::wstring name = ToSystemPath(path);
    return !name.empty() && CreateDirectoryW(name.c_str(), nullptr) != 0;
}

bool RemoveEmptyDirectory(const char* path) {
    const std::wstring name = ToSystemPath(path);
    return !name.empty() && RemoveDirectoryW(name.c_str()) != 0;
}

std::string MakePrivateDirectory(const std::string& prefix) {
    constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz0123456789";
    constexpr int kLetterCount = 6;
    PrivateSecurity security;
    std::random_device random;
    for (;;) {
        std::string path = prefix;
        for (int i = 0; i < kLetterCount; ++i) path += kLetters[random() % kLetters.size()];
        const std::wstring name = ToSystemPath(path.c_str());
        if (name.empty()) return {};
        if (CreateDirectoryW(name.c_str(), security.Get())) return path;
        if (GetLastError() != ERROR_ALREADY_EXISTS) return {};
    }
}

// Nothing to flush: the file systems here log changes of folders themselves.
bool CommitDirectory(const char* path) { return Exists(path); }

bool MakeDirectories(const char* path) {
    const std::string whole = path ? path : "";
    constexpr std::string_view kSeparators = "/\\";
    for (std::size_t end = 0; end < whole.size();) {
        end = std::min(whole.find_first_of(kSeparators, whole.find_first_not_of(kSeparators, end)),
                       whole.size());
        const std::string level = whole.substr(0, end);
        if (level.ends_with(':') || MakeDirectory(level.c_str())) continue;
        const DWORD reason = GetLastError();
        FileStatus status;
        if (!GetStatus(level.c_str(), status) || !status.IsDirectory()) return Refuse(reason);
    }
    return true;
}

bool SetReadOnly(const char* path, bool readOnly) {
    const std::wstring name = ToSystemPath(path);
    const DWORD before = name.empty() ? INVALID_FILE_ATTRIBUTES : GetFileAttributesW(name.c_str());
    if (before == INVALID_FILE_ATTRIBUTES) return false;
    const DWORD after = readOnly ? before | FILE_ATTRIBUTE_READONLY
                                 : before & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY);
    return SetFileAttributesW(name.c_str(), after) != 0;
}

bool SetHidden(const char* path, bool hidden) {
    const std::wstring name = ToSystemPath(path);
    const DWORD before = name.empty() ? INVALID_FILE_ATTRIBUTES : GetFileAttributesW(name.c_str());
    if (before == INVALID_FILE_ATTRIBUTES) return false;
    const DWORD after = hidden ? before | FILE_ATTRIBUTE_HIDDEN
                               : before & ~static_cast<DWORD>(FILE_ATTRIBUTE_HIDDEN);
    return SetFileAttributesW(name.c_str(), after) != 0;
}

bool ListDirectory(const char* path, const std::function<bool(const DirectoryEntry&)>& visit) {
    const std::wstring folder = ToSystemPath(path);
    if (folder.empty()) return false;
    Search search(folder + (folder.back() == L'\\' ? L"*" : L"\\*"));
    if (!search.IsOpen()) return false;
    std::vector<DirectoryEntry> entries;
    do {
        DirectoryEntry entry;
        if (!ToEntry(folder, search.found, entry)) return false;
        entries.push_back(std::move(entry));
    } while (search.Next());
    if (GetLastError() != ERROR_NO_MORE_FILES) return false;
    std::ranges::sort(entries, {}, &DirectoryEntry::name);
    for (const DirectoryEntry& entry : entries) {
        if (!visit(entry)) break;
    }
    return true;
}

std::string CurrentDirectory() {
    std::wstring path(GetCurrentDirectoryW(0, nullptr), L'\0');
    path.resize(GetCurrentDirectoryW(static_cast<DWORD>(path.size()), path.data()));
    return FromSystemPath(path);
}

bool ChangeDirectory(const char* path) {
    const std::wstring name = ToSystemPath(path);
    return !name.empty() && SetCurrentDirectoryW(name.c_str()) != 0;
}

std::string TemporaryDirectory() {
    std::array<wchar_t, MAX_PATH + 2> path{};
    const DWORD length = GetTempPathW(path.size(), path.data());
    return FromSystemPath({path.data(), length});
}

}  // namespace platform
