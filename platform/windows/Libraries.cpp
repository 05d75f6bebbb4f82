#include "platform/Libraries.h"

#include <windows.h>

#include <array>
#include <utility>

#include "platform/windows/WideText.h"

namespace platform {
namespace {

HMODULE ToModule(void* handle) { return static_cast<HMODULE>(handle); }

}  // namespace

std::string LoadedLibraryPath(const char* fileName) {
    const HMODULE module = GetModuleHandleW(windows::ToWide(fileName).c_str());
    if (!module) return {};
    std::array<wchar_t, 32768> path;
    const DWORD length = GetModuleFileNameW(module, path.data(), path.size());
    return windows::FromSystemPath({path.data(), length});
}

bool Library::Load(const char* path) {
    Free();
    std::wstring name = windows::ToSystemPath(path);
    if (name.empty()) return false;
    // Without a separator the system would look into the program's folder first. It would also add
    // ".dll" to a name without a dot.
    if (name.find(L'\\') == name.npos &&
        GetFileAttributesW(name.c_str()) != INVALID_FILE_ATTRIBUTES) {
        name.insert(0, L".\\");
    }
    if (name.find(L'.', name.find_last_of(L'\\') + 1) == name.npos) name += L'.';
    // Its own dependencies are looked for beside it.
    std::array<wchar_t, 32768> full;
    if (name.find(L'\\') != name.npos &&
        GetFullPathNameW(name.c_str(), full.size(), full.data(), nullptr) != 0) {
        handle_ = LoadLibraryExW(full.data(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    } else {
        handle_ = LoadLibraryW(name.c_str());
    }
    return IsLoaded();
}

bool Library::LoadProgram() {
    Free();
    // Counts as one more user of the program, so that Free is right for it, too.
    HMODULE program = nullptr;
    GetModuleHandleExW(0, nullptr, &program);
    handle_ = program;
    return IsLoaded();
}

void* Library::Find(const char* symbol) const {
    return IsLoaded() ? reinterpret_cast<void*>(GetProcAddress(ToModule(handle_), symbol))
                      : nullptr;
}

void Library::Free() noexcept {
    if (IsLoaded()) FreeLibrary(ToModule(std::exchange(handle_, nullptr)));
}

}  // namespace platform
