#include "tools/archive/TargetMount.h"

#include <memory>

#include "KernelStandard/FileSubstList.h"
#include "kernel/Exceptions.h"
#include "platform/Directories.h"

namespace Vorn {
namespace {

// Returns whether this created the archive.
[[nodiscard]] bool Mount(const InternedString& name, const char* path, bool forReading) {
    const bool existed = platform::Exists(path);
    try {
        Subst(name, path, true);
    } catch (const FileEx& exception) {
        if (!forReading || !existed) {
            throw FileEx::Formatted(exception.GetFile(), exception.GetLine(), "%s: %s",
                                    exception.GetReason(), path);
        }
        Subst(name, path, false);
    }
    return !existed && platform::Exists(path);
}

}  // namespace

TargetMount::TargetMount(const InternedString& name, const char* path, bool forReading)
    : name_(name), owned_(!FileSubstList::Instance().IsMounted(name)) {
    if (owned_) wasCreated_ = Mount(name, path, forReading);
    const auto backend = FileSubstList::Instance().TopBackend(name);
    if (backend->IsKind(kKindArchive)) archive_ = std::static_pointer_cast<FileSubArchive>(backend);
}

TargetMount::~TargetMount() {
    archive_.reset();  // so that unmounting closes it
    if (owned_) Subst(name_, nullptr);
}

bool TargetMount::IsReadable() const { return !archive_ || archive_->IsAvailable(); }

}  // namespace Vorn
