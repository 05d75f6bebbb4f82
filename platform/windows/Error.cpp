#include "platform/Error.h"

#include <windows.h>

#include <array>

#include "platform/windows/WideText.h"

namespace platform {
namespace {

constexpr DWORD kQuotaExceeded = 1295;  // ERROR_DISK_QUOTA_EXCEEDED, which MinGW lacks

ErrorKind KindOf(DWORD number) {
    switch (number) {
        case ERROR_SUCCESS:
            return ErrorKind::None;
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
        case ERROR_DIRECTORY:  // a file where a folder of the path should be
        case ERROR_BAD_NETPATH:
        case ERROR_BAD_NET_NAME:
        case ERROR_INVALID_DRIVE:
            return ErrorKind::NotFound;
        case ERROR_FILE_EXISTS:
        case ERROR_ALREADY_EXISTS:
        case ERROR_DIR_NOT_EMPTY:
            return ErrorKind::Exists;
        case ERROR_SHARING_VIOLATION:
        case ERROR_LOCK_VIOLATION:
        case ERROR_BUSY:
            return ErrorKind::Busy;
        case ERROR_ACCESS_DENIED:
        case ERROR_WRITE_PROTECT:
        case ERROR_PRIVILEGE_NOT_HELD:
            return ErrorKind::Denied;
        case ERROR_DISK_FULL:
        case ERROR_HANDLE_DISK_FULL:
        case kQuotaExceeded:
            return ErrorKind::NoSpace;
        case ERROR_FILE_TOO_LARGE:
            return ErrorKind::TooLarge;
        default:
            return ErrorKind::Other;
    }
}

}  // namespace

std::string Error::Message() const {
    std::array<wchar_t, 512> text{};
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                        nullptr, static_cast<DWORD>(number), 0, text.data(),
                                        static_cast<DWORD>(text.size()), nullptr);
    std::string message = windows::ToText({text.data(), length}).value_or("");
    // The system's sentences end with a line break; ours go on.
    message.resize(message.find_last_not_of("\r\n. ") + 1);
    return message.empty() ? "error " + std::to_string(number) : message;
}

Error LastError() {
    const DWORD number = GetLastError();
    return {.kind = KindOf(number), .number = static_cast<int>(number)};
}

}  // namespace platform
