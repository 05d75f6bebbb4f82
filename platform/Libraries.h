// Loadable libraries.
//
// A path with a separator is looked up as a file by the rules of Files.h. A bare name is tried as
// a file of the current directory, then searched by the system where libraries are kept.
#pragma once

#include <string>

namespace platform {

// Full path of the library of this process whose file has that name, in any letter case; empty when
// there is none.
[[nodiscard]] std::string LoadedLibraryPath(const char* fileName);

// Owns one loaded library. Destroying frees it; the system unloads the code when no other handle
// holds it. Symbols must not be used after that.
class Library {
public:
    Library() noexcept = default;
    Library(Library&& other) noexcept;
    Library& operator=(Library&& other) noexcept;
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library();

    // Frees what the handle holds, then loads `path` and runs its initialisers. False when there
    // is no such library or something it needs is missing.
    [[nodiscard]] bool Load(const char* path);

    // Takes a handle on the running program itself, whose exported symbols Find then sees.
    [[nodiscard]] bool LoadProgram();

    [[nodiscard]] bool IsLoaded() const noexcept { return handle_ != nullptr; }

    // Address of the exported symbol, or null when there is none or nothing is loaded.
    [[nodiscard]] void* Find(const char* symbol) const;

    void Free() noexcept;

private:
    void* handle_ = nullptr;
};

}  // namespace platform
