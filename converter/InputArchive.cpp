#include "converter/InputArchive.h"

#include "KernelStandard/File.h"
#include "KernelStandard/FileSubArchive.h"
#include "KernelStandard/FileSubstList.h"
#include "kernel/PathBuffer.h"

namespace converter {

using namespace Vorn;

bool FitsPath(std::string_view path) { return path.size() < kMaxPath; }

InputKind KindOf(const InputArchive& input) {
    const auto backend = FileSubstList::Instance().TopBackend(input.mount);
    if (static_cast<const FileSubArchive&>(*backend).ReadFailed()) return InputKind::Unreadable;
    return backend->GetStorageKind() != 0 ? InputKind::Archive : InputKind::NoArchive;
}

bool Holds(const InputArchive& input, const char* member) {
    // Without a test for compression, opening a member reads nothing.
    File file;
    return file.Open(input.mount, member, kReadPlain) == RES_OK;
}

}  // namespace converter
