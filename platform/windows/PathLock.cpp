// The lock is the handle: the file is open for this holder alone.
#include "platform/PathLock.h"

#include <utility>

#include "platform/windows/Handles.h"
#include "platform/windows/WideText.h"

namespace platform {

using windows::ToHandle;

PathLock::~PathLock() { Release(); }

PathLock::Result PathLock::TryAcquire(const char* path) {
    Release();
    path_ = path;
    const std::wstring name = windows::ToSystemPath(path);
    if (name.empty()) return Result::Failed;
    const HANDLE file = CreateFileW(name.c_str(), GENERIC_READ | DELETE, 0, nullptr, OPEN_ALWAYS,
                                    FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return GetLastError() == ERROR_SHARING_VIOLATION ? Result::Busy : Result::Failed;
    }
    BY_HANDLE_FILE_INFORMATION found{};
    const bool usable = GetFileInformationByHandle(file, &found) && found.nFileSizeLow == 0 &&
                        found.nFileSizeHigh == 0 &&
                        (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
    if (!usable) {
        CloseHandle(file);
        return Result::Failed;
    }
    descriptor_ = windows::ToDescriptor(file);
    return Result::Held;
}

void PathLock::Release() noexcept {
    if (descriptor_ < 0) return;
    const HANDLE file = ToHandle(std::exchange(descriptor_, -1));
    FILE_DISPOSITION_INFO remove{TRUE};
    SetFileInformationByHandle(file, FileDispositionInfo, &remove, sizeof remove);
    CloseHandle(file);
}

}  // namespace platform
