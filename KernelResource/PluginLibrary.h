// Loadable libraries: any one for its exports (DynamicLibrary), and those of plug-ins.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "KernelResource/PluginApi.h"
#include "KernelResource/ResourceCodes.h"
#include "kernel/InternedString.h"
#include "platform/Libraries.h"

namespace Vorn {

// A loadable library, used for its exports and freed with the object.
//
// Belongs to one thread. Symbols must not be used after the library is unloaded.
class DynamicLibrary {
public:
    DynamicLibrary() = default;
    DynamicLibrary(const DynamicLibrary&) = delete;
    DynamicLibrary& operator=(const DynamicLibrary&) = delete;

    // The virtual operations, in slot order, which is fixed.
    virtual ~DynamicLibrary();
    // Unloads the previous library first. False if this one cannot be loaded.
    [[nodiscard]] virtual bool Load(const char* path);
    virtual void Unload();
    // Returns true if the export exists; otherwise sets `address` to null.
    [[nodiscard]] virtual bool GetSymbol(const char* name, void*& address) const;

private:
    platform::Library module_;
};

// Returns the file of a library: "Foo_7s.dll" for Foo and Foo.dll, "Foo_7s.exe" for Foo.exe.
[[nodiscard]] std::string PluginLibraryFile(std::string_view name);

// A library of plug-ins, loaded at the first request for one of them and then kept.
//
// Not locked: the plug-in system calls Load under its lock. A library that has failed to load is
// not tried again. Neither is one that its own initialisers request while it loads.
class PluginLibrary {
public:
    // Names the library; loads nothing yet. A name without a folder is searched in `folders`, which
    // must outlive the object, and then where the system searches. "*" is the program itself.
    PluginLibrary(InternedString name, std::span<const std::string> folders);
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

    virtual ~PluginLibrary();
    // Loads the library and calls its entry point. Returns RES_SUCCESS or a code of loading. Called
    // once.
    [[nodiscard]] virtual PluginResult Load();

    [[nodiscard]] bool IsLoaded() const { return module_.IsLoaded(); }
    [[nodiscard]] bool HasFailed() const { return failed_; }

    // Returns null if the library has no such plug-in or is not loaded.
    [[nodiscard]] const PluginFactory* FindFactory(const Guid& plugin) const;

private:
    [[nodiscard]] bool LoadModule(platform::Library& module) const;

    InternedString name_;
    std::span<const std::string> folders_;
    platform::Library module_;
    bool failed_ = false;
    std::span<const PluginFactory> factories_;
};

}  // namespace Vorn
