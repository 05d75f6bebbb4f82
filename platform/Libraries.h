// Loadable libraries.
//
// A path with a separator is looked up as a file by the rules of Files.h. A bare name is tried as
// a file of the current directory, then searched by the system where libraries are kept.
#pragma once

#include <string>

namespace platform {

// Returns the full path of the loaded library whose file has that name in any letter case; empty if
// there is none.
[[nodiscard]] std::string LoadedLibraryPath(const char* fileName);

// Owns one loaded library and frees it at the end. The system unloads the code with the last
// handle; symbols must not be used after that.
class Library {
public:
    Library() noexcept = default;
    Library(Library&& other) noexcept;
    Library& operator=(Library&& other) noexcept;
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library();

    // Frees the current library, then loads `path` and runs its initialisers. False if there is no
    // such library or something it needs is missing.
    [[nodiscard]] bool Load(const char* path);

    // Takes a handle on the running program itself, so that Find sees its exported symbols.
    [[nodiscard]] bool LoadProgram();

    [[nodiscard]] bool IsLoaded() const noexcept { return handle_ != nullptr; }

    // Returns the address of the exported symbol; null if there is none or nothing is loaded.
    [[nodiscard]] void* Find(const char* symbol) const;

    void Free() noexcept;

private:
    void* handle_ = nullptr;
};

}  // namespace platform
