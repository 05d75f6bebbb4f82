#include "tools/archive/TargetMount.h"

#include <memory>

#include "KernelStandard/FileSubstList.h"
#include "kernel/Exceptions.h"
#include "platform/Directories.h"

namespace Vorn {

TargetMount::TargetMount(const char* path, bool forReading) {
    if (!FileSubstList::Instance().IsMounted(targetMount)) wasCreated_ = Mount(path, forReading);
    const auto backend = FileSubstList::Instance().TopBackend(targetMount);
    if (backend->IsKind(kKindArchive)) archive_ = std::static_pointer_cast<FileSubArchive>(backend);
}

bool TargetMount::Mount(const char* path, bool forReading) {
    const bool existed = platform::Exists(path);
    try {
        mount_.emplace(targetMount, path, true);
    } catch (const FileEx& exception) {
        if (!forReading || !existed) {
            throw FileEx::Formatted(exception.GetFile(), exception.GetLine(), "%s: %s",
                                    exception.GetReason(), path);
        }
        mount_.emplace(targetMount, path, false);
    }
    return !existed && platform::Exists(path);
}

bool TargetMount::IsReadable() const { return !archive_ || archive_->IsAvailable(); }

}  // namespace Vorn
