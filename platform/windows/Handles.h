// Owned handles, and handles as the layer's headers keep them.
//
// The headers hold a descriptor in an int. A handle fits: the system promises that only its low 32
// bits matter, and INVALID_HANDLE_VALUE is -1.
#pragma once

#include <windows.h>

#include <cstdint>

namespace platform::windows {

[[nodiscard]] inline HANDLE ToHandle(int descriptor) noexcept {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a handle is a number
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(descriptor));
}

[[nodiscard]] inline int ToDescriptor(HANDLE handle) noexcept {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(handle));
}

// Closes on leaving, and keeps the system's last error.
class Handle {
public:
    explicit Handle(HANDLE handle) noexcept : handle_(handle) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() {
        const DWORD error = GetLastError();
        if (*this) CloseHandle(handle_);
        SetLastError(error);
    }

    [[nodiscard]] HANDLE Get() const noexcept { return handle_; }
    explicit operator bool() const noexcept {
        return handle_ != INVALID_HANDLE_VALUE && handle_ != nullptr;
    }

private:
    const HANDLE handle_;
};

// Sets the system's last error, and fails.
inline bool Refuse(DWORD error) noexcept {
    SetLastError(error);
    return false;
}

}  // namespace platform::windows
