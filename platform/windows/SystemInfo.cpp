#include "platform/SystemInfo.h"

#include <windows.h>

#include <array>

#include "platform/windows/WideText.h"

namespace platform {

std::string UserName() {
    std::array<wchar_t, 257> name{};
    DWORD size = name.size();
    if (!GetUserNameW(name.data(), &size)) return {};
    return windows::ToText(name.data()).value_or("");
}

OperatingSystem GetOperatingSystem() {
    // GetVersionEx reports an old version to programs without a manifest.
    using GetVersion = LONG(WINAPI*)(OSVERSIONINFOW*);
    const auto getVersion = reinterpret_cast<GetVersion>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion")));
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof version;
    if (!getVersion || getVersion(&version) != 0) return {};
    return {.family = version.dwPlatformId,
            .major = version.dwMajorVersion,
            .minor = version.dwMinorVersion,
            .build = version.dwBuildNumber};
}

std::uint32_t ProcessorCount() {
    DWORD_PTR own = 0;
    DWORD_PTR all = 0;
    if (!GetProcessAffinityMask(GetCurrentProcess(), &own, &all) || own == 0) return 1;
    return static_cast<std::uint32_t>(__builtin_popcountll(own));
}

std::uint32_t ProcessorType() {
#if defined(__x86_64__)
    return 8664;
#else
    return 0;
#endif
}

MemoryStatus GetMemoryStatus() {
    MEMORYSTATUSEX found{};
    found.dwLength = sizeof found;
    if (!GlobalMemoryStatusEx(&found)) return {};
    return {.physical = found.ullTotalPhys,
            .physicalFree = found.ullAvailPhys,
            .paging = found.ullTotalPageFile,
            .pagingFree = found.ullAvailPageFile,
            .address = found.ullTotalVirtual,
            .addressFree = found.ullAvailVirtual};
}

std::optional<std::uint64_t> FreeSpace(const char* path) {
    std::wstring name = windows::ToSystemPath(path);
    const DWORD attributes =
        name.empty() ? INVALID_FILE_ATTRIBUTES : GetFileAttributesW(name.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) return std::nullopt;
    // The call takes folders only.
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        const std::size_t end = name.find_last_of(L'\\');
        name = end == name.npos ? L"." : name.substr(0, end + 1);
    }
    ULARGE_INTEGER free{};
    if (!GetDiskFreeSpaceExW(name.c_str(), &free, nullptr, nullptr)) return std::nullopt;
    return free.QuadPart;
}

}  // namespace platform
