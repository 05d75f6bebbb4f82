// A mount that ends with its scope.
#pragma once

#include <new>

#include "KernelStandard/FileSubstList.h"
#include "kernel/StartUp.h"

namespace Vorn {

class ScopedMount {
public:
    // Mounts `path` as Subst does, and throws as it does. The name should have no other mount,
    // because the end of the scope closes all mounts of the name.
    ScopedMount(const InternedString& name, const char* path, bool writable = false) : name_(name) {
        Subst(name_, path, writable);
    }
    // Closes the mount, which completes a changed archive. Does nothing if the name was closed
    // meanwhile.
    ~ScopedMount() {
        try {
            FileSubstList::Instance().Close(name_);
        } catch (const std::bad_alloc&) {
            // The archive lacks its index now, which nothing after the scope could tell.
            EndWithoutMemory();
        }
    }
    ScopedMount(const ScopedMount&) = delete;
    ScopedMount& operator=(const ScopedMount&) = delete;

    [[nodiscard]] const InternedString& Name() const { return name_; }
    // Returns the backend that is asked first. The name must still be mounted.
    [[nodiscard]] std::shared_ptr<FileSub> Backend() const {
        return FileSubstList::Instance().TopBackend(name_);
    }

private:
    const InternedString name_;
};

}  // namespace Vorn
