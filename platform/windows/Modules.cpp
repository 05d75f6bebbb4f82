#include "platform/Modules.h"

#include <windows.h>
// Needs windows.h before it.
#include <psapi.h>

#include <algorithm>

#include "platform/windows/FileStatus.h"
#include "platform/windows/Handles.h"

namespace platform {
namespace {

constexpr std::size_t kMostModules = 1024;
constexpr std::size_t kMostText = 4096;

// Static: a faulting thread may have no room on its stack, and must not use the heap.
constinit std::array<HMODULE, kMostModules> modules{};
constinit std::array<wchar_t, kMostText> widePath{};
constinit std::array<char, kMostText * 3> path{};
constinit std::array<std::array<char, 512>, 3> versionTexts{};
constinit std::array<std::byte, 65536> versionRecord{};

std::string_view VersionText(std::size_t index, DWORD language, const wchar_t* field) {
    std::array<wchar_t, 64> key{};
    wsprintfW(key.data(), L"\\StringFileInfo\\%04x%04x\\%ls", LOWORD(language), HIWORD(language),
              field);
    void* text = nullptr;
    UINT length = 0;
    if (!VerQueryValueW(versionRecord.data(), key.data(), &text, &length) || length == 0) return {};
    auto& buffer = versionTexts.at(index);
    const int size = WideCharToMultiByte(CP_UTF8, 0, static_cast<const wchar_t*>(text),
                                         static_cast<int>(length - 1), buffer.data(),
                                         static_cast<int>(buffer.size()), nullptr, nullptr);
    return {buffer.data(), static_cast<std::size_t>(std::max(size, 0))};
}

ModuleVersion VersionOf(const wchar_t* file) {
    ModuleVersion version;
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(file, &ignored);
    if (size == 0 || size > versionRecord.size() ||
        !GetFileVersionInfoW(file, 0, size, versionRecord.data())) {
        return version;
    }
    void* found = nullptr;
    UINT length = 0;
    if (VerQueryValueW(versionRecord.data(), L"\\", &found, &length) &&
        length >= sizeof(VS_FIXEDFILEINFO)) {
        const auto& fixed = *static_cast<const VS_FIXEDFILEINFO*>(found);
        version.fileVersion = {HIWORD(fixed.dwFileVersionMS), LOWORD(fixed.dwFileVersionMS),
                               HIWORD(fixed.dwFileVersionLS), LOWORD(fixed.dwFileVersionLS)};
        version.productVersion = {
            HIWORD(fixed.dwProductVersionMS), LOWORD(fixed.dwProductVersionMS),
            HIWORD(fixed.dwProductVersionLS), LOWORD(fixed.dwProductVersionLS)};
    }
    if (VerQueryValueW(versionRecord.data(), L"\\VarFileInfo\\Translation", &found, &length) &&
        length >= sizeof(DWORD)) {
        const DWORD language = *static_cast<const DWORD*>(found);
        version.company = VersionText(0, language, L"CompanyName");
        version.product = VersionText(1, language, L"ProductName");
        version.description = VersionText(2, language, L"FileDescription");
    }
    return version;
}

// Fills what the headers of the loaded image tell.
void ReadHeaders(const std::byte* base, Module& module) {
    const auto& dos = *reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    if (dos.e_magic != IMAGE_DOS_SIGNATURE) return;
    const auto& headers = *reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos.e_lfanew);
    if (headers.Signature != IMAGE_NT_SIGNATURE) return;
    module.size = headers.OptionalHeader.SizeOfImage;
    module.checksum = headers.OptionalHeader.CheckSum;
    module.timeStamp = headers.FileHeader.TimeDateStamp;
}

Module Describe(HMODULE handle) {
    Module module;
    module.base = reinterpret_cast<std::uintptr_t>(handle);
    ReadHeaders(reinterpret_cast<const std::byte*>(handle), module);
    const DWORD length = GetModuleFileNameW(handle, widePath.data(), kMostText - 1);
    const int size =
        WideCharToMultiByte(CP_UTF8, 0, widePath.data(), static_cast<int>(length), path.data(),
                            static_cast<int>(path.size()), nullptr, nullptr);
    std::replace(path.begin(), path.begin() + std::max(size, 0), '\\', '/');
    module.path = {path.data(), static_cast<std::size_t>(std::max(size, 0))};
    WIN32_FILE_ATTRIBUTE_DATA file{};
    if (GetFileAttributesExW(widePath.data(), GetFileExInfoStandard, &file)) {
        module.fileSize = std::uint64_t{file.nFileSizeHigh} << 32U | file.nFileSizeLow;
        module.fileTime = windows::ToSeconds(file.ftLastWriteTime);
    }
    module.version = VersionOf(widePath.data());
    return module;
}

}  // namespace

void ForEachModule(const std::function<bool(const Module&)>& visit) {
    DWORD needed = 0;
    if (!K32EnumProcessModules(GetCurrentProcess(), modules.data(), sizeof modules, &needed))
        return;
    const std::size_t count = std::min<std::size_t>(needed / sizeof(HMODULE), modules.size());
    std::sort(modules.begin(), modules.begin() + static_cast<std::ptrdiff_t>(count));
    for (std::size_t i = 0; i < count; ++i) {
        if (!visit(Describe(modules.at(i)))) return;
    }
}

}  // namespace platform
