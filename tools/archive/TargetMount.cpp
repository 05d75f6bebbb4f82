#include "tools/archive/TargetMount.h"

#include <memory>

#include "KernelStandard/FileSubArchive.h"
#include "KernelStandard/FileSubstList.h"
#include "kernel/Exceptions.h"
#include "platform/Directories.h"

namespace Vorn {
namespace {

// Null for a target that is mounted as a folder.
[[nodiscard]] std::shared_ptr<FileSubArchive> ArchiveOf(const InternedString& name) {
    const auto backend = FileSubstList::Instance().TopBackend(name);
    return backend->IsKind(kKindArchive) ? std::static_pointer_cast<FileSubArchive>(backend)
                                         : nullptr;
}

}  // namespace

TargetMount::TargetMount(const InternedString& name, const char* path, bool forReading)
    : name_(name), owned_(!FileSubstList::Instance().IsMounted(name)) {
    if (!owned_) return;
    const bool existed = platform::Exists(path);
    try {
        Subst(name_, path, true);
    } catch (const FileEx& exception) {
        if (!forReading || !existed) {
            throw FileEx::Formatted(exception.GetFile(), exception.GetLine(), "%s: %s",
                                    exception.GetReason(), path);
        }
        Subst(name_, path, false);
    }
    wasCreated_ = !existed && platform::Exists(path);
}

TargetMount::~TargetMount() {
    if (owned_) Subst(name_, nullptr);
}

bool TargetMount::IsReadable() const {
    const auto archive = ArchiveOf(name_);
    return archive == nullptr || archive->IsAvailable();
}

bool TargetMount::BeginChanges() {
    const auto archive = ArchiveOf(name_);
    return archive == nullptr || archive->BeginChanges();
}

bool TargetMount::LacksIndex() const {
    const auto archive = ArchiveOf(name_);
    return archive != nullptr && archive->LacksIndex();
}

bool TargetMount::Complete() {
    const auto archive = ArchiveOf(name_);
    return archive == nullptr || archive->Complete();
}

bool TargetMount::WasFull() const {
    const auto archive = ArchiveOf(name_);
    return archive != nullptr && archive->WasFull();
}

}  // namespace Vorn
