#include "converter/InputArchive.h"

#include "KernelStandard/FileSubArchive.h"
#include "KernelStandard/FileSubstList.h"
#include "kernel/PathBuffer.h"

using namespace Vorn;

bool FitsPath(std::string_view path) { return path.size() < kMaxPath; }

InputKind KindOf(const InternedString& mount) {
    const auto backend = FileSubstList::Instance().TopBackend(mount);
    if (static_cast<const FileSubArchive&>(*backend).ReadFailed()) return InputKind::Unreadable;
    return backend->GetStorageKind() != 0 ? InputKind::Archive : InputKind::NoArchive;
}

std::string InvalidInputArchive(std::string_view path) {
    return "Invalid input archive \"" + std::string(path) + "\"";
}
