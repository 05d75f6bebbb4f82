#include "KernelResource/DynamicLibrary.h"

namespace Vorn {

DynamicLibrary::~DynamicLibrary() = default;

bool DynamicLibrary::Load(const char* path) { return module_.Load(path); }

void DynamicLibrary::Unload() { module_.Free(); }

bool DynamicLibrary::GetSymbol(const char* name, void*& address) const {
    address = module_.Find(name);
    return address != nullptr;
}

}  // namespace Vorn
