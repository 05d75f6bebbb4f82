#include "platform/Libraries.h"

#include <dlfcn.h>
#include <link.h>
#include <strings.h>

#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

#include "platform/posix/PathLookup.h"

namespace platform {
namespace {

constexpr int kMode = RTLD_NOW | RTLD_LOCAL;

struct PathSearch {
    const char* fileName;
    std::string found;
};

// Returns 1 to end the walk over the modules.
int CompareModule(dl_phdr_info* module, std::size_t /*size*/, void* data) {
    auto& search = *static_cast<PathSearch*>(data);
    const std::string path = module->dlpi_name;
    const char* const name = path.c_str() + path.rfind('/') + 1;
    if (strcasecmp(name, search.fileName) != 0) return 0;
    std::error_code error;
    search.found = std::filesystem::absolute(path, error).string();
    return 1;
}

}  // namespace

std::string LoadedLibraryPath(const char* fileName) {
    PathSearch search{fileName, {}};
    dl_iterate_phdr(CompareModule, &search);
    return search.found;
}

bool Library::Load(const char* path) {
    Free();
    std::string name = posix::FindExistingPath(path);
    std::error_code error;
    // Without a separator the system would not look into the current directory.
    if (name.find('/') == std::string::npos && std::filesystem::exists(name, error)) {
        name.insert(0, "./");
    }
    // The system takes an empty name for the program itself.
    handle_ = name.empty() ? nullptr : dlopen(name.c_str(), kMode);
    return IsLoaded();
}

bool Library::LoadProgram() {
    Free();
    handle_ = dlopen(nullptr, kMode);
    return IsLoaded();
}

void* Library::Find(const char* symbol) const {
    return IsLoaded() ? dlsym(handle_, symbol) : nullptr;
}

void Library::Free() noexcept {
    if (IsLoaded()) {
        dlclose(std::exchange(handle_, nullptr));
    }
}

}  // namespace platform
