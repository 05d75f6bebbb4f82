// One library of plug-ins: loaded at the first request for one of them, then kept.
//
// Not locked: the plug-in system calls Load under its lock. A library that has failed to load is
// not tried again, nor is one that is asked for by its own initialisers while it loads.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "KernelResource/PluginApi.h"
#include "KernelResource/ResourceCodes.h"
#include "kernel/InternedString.h"
#include "platform/Libraries.h"

namespace Vorn {

// The file of a library: "Foo_7s.dll" for Foo and Foo.dll, "Foo_7s.exe" for Foo.exe.
[[nodiscard]] std::string PluginLibraryFile(std::string_view name);

class PluginLibrary {
public:
    // A name without a folder is looked for in `folders`, which must outlive the object, and then
    // where the system looks. "*" is the program itself.
    PluginLibrary(InternedString name, std::span<const std::string> folders);
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

    virtual ~PluginLibrary();
    // Loads the library and calls its entry point: RES_SUCCESS or a library's code. Does it once.
    [[nodiscard]] virtual PluginResult Load();

    [[nodiscard]] bool IsLoaded() const { return module_.IsLoaded(); }
    [[nodiscard]] bool HasFailed() const { return failed_; }

    // Null when the library has no such plug-in or is not loaded.
    [[nodiscard]] const PluginFactory* FindFactory(const Guid& plugin) const;

private:
    [[nodiscard]] bool LoadModule(platform::Library& module) const;

    InternedString name_;
    std::span<const std::string> folders_;
    platform::Library module_;
    bool failed_ = false;
    std::span<const PluginFactory> factories_;
};

class DynamicLibrary {
public:
    DynamicLibrary() = default;
    DynamicLibrary(const DynamicLibrary&) = delete;
    DynamicLibrary& operator=(const DynamicLibrary&) = delete;

    virtual ~DynamicLibrary();
    // Unloads what was loaded before.
    [[nodiscard]] virtual bool Load(const char* path);
    virtual void Unload();
    // True if the export exists; `address` is null otherwise.
    [[nodiscard]] virtual bool GetSymbol(const char* name, void*& address) const;

private:
    platform::Library module_;
};

}  // namespace Vorn
