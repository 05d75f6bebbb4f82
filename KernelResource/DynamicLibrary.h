// A loadable library, used for its exports and freed with the object.
//
// One thread at a time. Symbols must not be used once the library is unloaded.
#pragma once

#include "platform/Libraries.h"

namespace Vorn {

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
