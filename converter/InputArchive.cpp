#include "converter/InputArchive.h"

#include "KernelStandard/FileSubstList.h"
#include "kernel/PathBuffer.h"

using namespace Vorn;

bool FitsPath(std::string_view path) { return path.size() < kMaxPath; }

bool HoldsArchive(const InternedString& mount) {
    FileSubstList& list = FileSubstList::Instance();
    const auto backends = list.Collect(*list.FindSubst(mount));
    return !backends.empty() && backends.front()->GetStorageKind() != 0;
}

std::string InvalidInputArchive(std::string_view path) {
    return "Invalid input archive \"" + std::string(path) + "\"";
}
