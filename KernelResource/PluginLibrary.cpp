#include "KernelResource/PluginLibrary.h"

#include <algorithm>
#include <utility>

#include "kernel/Paths.h"

namespace Vorn {
namespace {

constexpr std::string_view kProgramItself = "*";  // fixed
constexpr std::size_t kExtensionLength = 4;       // with its dot

bool IsBareName(std::string_view name) { return std::ranges::none_of(name, IsComponentEnd); }

}  // namespace

std::string PluginLibraryFile(std::string_view name) {
    const bool program = HasExtension(name, "exe");
    if (program || HasExtension(name, "dll")) name.remove_suffix(kExtensionLength);
    return std::string(name).append(program ? "_7s.exe" : "_7s.dll");
}

PluginLibrary::PluginLibrary(InternedString name, std::span<const std::string> folders)
    : name_(std::move(name)), folders_(folders) {}

PluginLibrary::~PluginLibrary() = default;

PluginResult PluginLibrary::Load() {
    // Failed until proven otherwise: the library's initialisers may request its own plug-ins.
    failed_ = true;
    platform::Library module;
    if (!LoadModule(module)) return RES_LIBRARYNOTFOUND;
    void* const symbol = module.Find("VornGetPlugins");
    if (!symbol) return RES_ENTRYPOINTNOTFOUND;
    const PluginFactories* exported = reinterpret_cast<decltype(&VornGetPlugins)>(symbol)();
    // Another version may lay its factories out differently; the library serves nothing then.
    if (exported && exported->apiVersion == kPluginApiVersion) {
        factories_ = {exported->factories, exported->count};
    }
    module_ = std::move(module);
    failed_ = false;
    return RES_SUCCESS;
}

bool PluginLibrary::LoadModule(platform::Library& module) const {
    if (name_.View() == kProgramItself) return module.LoadProgram();
    const std::string file = PluginLibraryFile(name_.View());
    const auto loads = [&](const std::string& folder) {
        return module.Load((folder + "/" + file).c_str());
    };
    if (IsBareName(file) && std::ranges::any_of(folders_, loads)) return true;
    return module.Load(file.c_str());
}

const PluginFactory* PluginLibrary::FindFactory(const Guid& plugin) const {
    const auto found = std::ranges::find(factories_, plugin, &PluginFactory::plugin);
    return found == factories_.end() ? nullptr : &*found;
}

DynamicLibrary::~DynamicLibrary() = default;

bool DynamicLibrary::Load(const char* path) { return module_.Load(path); }

void DynamicLibrary::Unload() { module_.Free(); }

bool DynamicLibrary::GetSymbol(const char* name, void*& address) const {
    address = module_.Find(name);
    return address != nullptr;
}

}  // namespace Vorn
